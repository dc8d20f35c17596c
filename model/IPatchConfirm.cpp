#include "IPatchConfirm.h"

#include <utility>

namespace TC {
namespace {

PatchConfirmFactory& factoryRef() {
  static PatchConfirmFactory factory;
  return factory;
}

}  // namespace

void setPatchConfirmFactory(PatchConfirmFactory factory) { factoryRef() = std::move(factory); }

std::unique_ptr<IPatchConfirm> makePatchConfirm() {
  const PatchConfirmFactory& factory = factoryRef();
  return factory ? factory() : nullptr;
}

}  // namespace TC
