/// The simple controls of a tool bar. Each delivers its click to the nearest parent that handles events.
#pragma once

#include <QCheckBox>
#include <QPushButton>
#include <vector>

#include "gv/CUiResource.h"

class QAction;
class QHBoxLayout;
class QMenu;

namespace GV {

/// A button with an image. Its id travels with event 5. GUI thread only, as all controls.
class CPushButton : public QPushButton, public CUiResourceChangeHandler {
  Q_OBJECT

 public:
  explicit CPushButton(int id, QWidget* parent = nullptr);
  int id() const { return m_nId; }
  void setImageKey(const QString& key);
  void resourceChanged() override;
  void scaleChanged() override { resourceChanged(); }

 private:
  int m_nId;
  QString m_strImageKey;
};

/// A small button with a text.
class CSmallNoNormalButton : public CPushButton {
  Q_OBJECT

 public:
  CSmallNoNormalButton(int id, const QString& text, QWidget* parent = nullptr);
  void resourceChanged() override;
};

/// A button that drops down a list of items; the chosen item's id travels with event 5.
class CComboPushButton : public QPushButton, public CUiResourceChangeHandler {
  Q_OBJECT

 public:
  explicit CComboPushButton(QWidget* parent = nullptr);

  void setImageKey(const QString& key);
  void setTextColorKey(const QString& key);
  void addItem(int id, const QString& text);
  int count() const { return static_cast<int>(m_items.size()); }
  int itemId(int index) const { return m_items.at(static_cast<std::size_t>(index)).id; }
  /// -1 while there is no item.
  int currentIndex() const { return m_nCurrent; }
  /// Without an event; an index out of range changes nothing.
  void setCurrentIndex(int index);
  /// As if the user chose the item: delivers its event even when it is the current one.
  void choose(int index);
  void resourceChanged() override;
  void scaleChanged() override { resourceChanged(); }

 Q_SIGNALS:
  void sigCurrentIndexChanged(int index);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  struct SItem {
    int id;
    QAction* action;
  };
  std::vector<SItem> m_items;
  QMenu* m_pMenu;
  int m_nCurrent = -1;
  QString m_strImageKey;
  QString m_strTextColorKey = QStringLiteral("clr_btn_s_nonormal_0");
};

/// Delivers event 67 when the user toggles it, none when the program sets it.
class CCheckBox : public QCheckBox, public CUiResourceChangeHandler {
  Q_OBJECT

 public:
  CCheckBox(int id, const QString& text, QWidget* parent = nullptr);
  int id() const { return m_nId; }
  void setTextColorKey(const QString& key);
  void setFontKey(const QString& key);
  void resourceChanged() override;
  void scaleChanged() override { resourceChanged(); }

 private:
  int m_nId;
  QString m_strTextColorKey = QStringLiteral("clr_text_default");
  QString m_strFontKey = QStringLiteral("fnt_default_normal");
};

/// A row of controls over a background image.
class CAutoExpandToolBar : public QWidget, public CUiResourceChangeHandler {
  Q_OBJECT

 public:
  explicit CAutoExpandToolBar(QWidget* parent = nullptr);
  void setBackgroundImageKey(const QString& key);
  /// Pixels at scale 1.
  void setMargins(int left, int top, int right, int bottom);
  void addWidget(QWidget* widget);
  void addSeparator();
  void resourceChanged() override { update(); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QHBoxLayout* m_pLayout;
  QString m_strImageKey;
};

}  // namespace GV
