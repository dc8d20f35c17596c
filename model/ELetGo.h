#pragma once

namespace TC {

/// Whether somebody still shows a task, or why nobody does.
enum class ELetGo { Held, NewTradingDay, Closed };

}  // namespace TC
