/// How an event of the terminal travels from a widget to the owner that handles it.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <utility>

namespace GV {

/// The event ids that this kit delivers.
enum EEvent {
  EventButtonClicked = 5,         ///< id: the control's
  EventColumnMouse = 13,          ///< id: column, value: y in the viewport, key: row
  EventCellClicked = 14,          ///< id: column, value: the Qt::MouseButton, key: row
  EventColumnDoubleClicked = 49,  ///< key: the column in decimal
  EventCheckBoxToggled = 67,      ///< id: the control's, value: 1 when checked
  EventDialogCheckBox = 230,      ///< of a dialog's row; id: column, value: 1 when checked, key: row
  EventRowButtonClicked = 231,    ///< id: the button's, value: column, key: row
  EventRowFolded = 232,           ///< for the tap alone; id: 1 for unfolding, key: row
  EventTableExport = 233,         ///< for the tap alone; key: the file that the user gave, empty when cancelled
  EventDialogLineEdit = 234,  ///< of a dialog's row or field; id: column, key: row, data: the QString that was entered
  EventTableCopy = 235,       ///< for the tap alone
};

class CEventWidget {
 public:
  virtual ~CEventWidget() = default;
  /// True when the event was meant for this widget, so that it goes no further. GUI thread.
  virtual bool handleEvent(int eventId, int id, int value, QString key, void* data);
};

/// A widget class that can handle events.
template <typename Widget>
class CEventWidgetT : public Widget, public CEventWidget {
 public:
  using Widget::Widget;
};

struct CEventDeliverer {
  /// Hands the event to the parents of a widget, the nearest first, until one handles it. False when none did.
  static bool deliverEvent(QWidget* from, int eventId, int id, int value, const QString& key, void* data);

  using Tap = std::function<void(QWidget* from, int eventId, int id, int value, const QString& key)>;
  /// Is told of each event, and of those that a table handles itself, just before it takes effect; for a recording of
  /// what the user does. An empty one ends it. Events inside a CCommonDialog go to the observer of dialogs instead.
  static void setTap(Tap tap);
  static void tellTap(QWidget* from, int eventId, int id, int value, const QString& key);
};

}  // namespace GV
