#include "EngineTexts.h"

#include "ksservice/Enumerations.h"

namespace engine {

using namespace ksservice;

const char* statusText(int status) {
  switch (status) {
    case ETS_Running:
      return "执行中";
    case ETS_Paused:
      return "已暂停";
    case ETS_Finished:
      return "已完成";
    case ETS_ExecutionError:
      return "执行异常";
    default:
      return "已撤销";
  }
}

const char* operationText(int operation) {
  switch (operation) {
    case ETO_Cancel:
      return "撤销";
    case ETO_Pause:
      return "暂停";
    case ETO_Resume:
      return "恢复";
    default:
      return "放弃";
  }
}

std::string dayOverText(const std::string& account, int limit) {
  return "账户 " + account + " " + DAY_OVER + " " + std::to_string(limit) + " 笔: 不再委托, 撤单照常";
}

std::string beyondText(const std::string& account, int cancels) {
  return "账户 " + account + " 超出今日报撤上限的撤单: " + std::to_string(cancels) + " 笔";
}

}  // namespace engine
