#pragma once

namespace TC {

/// To what part of a task a detail belongs.
enum EBasketTaskType : int { EBTT_Own = 0, EBTT_Hedge = 1, EBTT_Patch = 2 };

}  // namespace TC
