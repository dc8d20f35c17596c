#include "CNewBasketWindow.h"

#include <QApplication>
#include <QClipboard>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QSplitter>
#include <QVBoxLayout>
#include <utility>

#include "CAccountsBox.h"
#include "CLineView.h"
#include "CSourceView.h"
#include "CSummaryBar.h"
#include "CTradeBox.h"
#include "gv/CUiResource.h"
#include "gv/LongWork.h"
#include "gv/Scaling.h"

namespace preview {
namespace {

// Pixels at scale 1.
constexpr QSize WINDOW_SIZE(1340, 740);
constexpr int SIDE_WIDTH = 400;
constexpr QSize BUTTON_SIZE(84, 26);
constexpr int KEEP_MSEC = 1000;
constexpr int MOST_TOLD = 3;  // rows that were left out

const char FILE_FILTER[] = "篮子文件 (*.csv *.tsv *.txt *.xlsx *.ods);;所有文件 (*)";

QString localFile(const QMimeData& data) {
  const QList<QUrl> urls = data.urls();
  return urls.size() == 1 ? urls.first().toLocalFile() : QString();
}

}  // namespace

CNewBasketWindow::CNewBasketWindow(IDraftHost& host, CDraftStore& store, QWidget* parent)
    : QDialog(parent, Qt::Window),
      m_host(host),
      m_store(store),
      m_draft(host),
      m_pDraftMenu(new QMenu(this)),
      m_pName(new QLineEdit(this)),
      m_pNote(new QLabel(this)),
      m_pTabs(new QTabWidget(this)),
      m_pLines(new CLineView(m_draft, m_pTabs)),
      m_pSource(new CSourceView(m_draft, store, m_pTabs)),
      m_pSummary(new CSummaryBar(m_draft, this)),
      m_pAccounts(new CAccountsBox(m_draft, store, this)),
      m_pTrade(new CTradeBox(m_draft, host.hedgeFutures(), this)),
      m_pLimits(new CLimitsBox(m_draft, this)),
      m_pSentence(new QLabel(this)) {
  setWindowTitle(QStringLiteral("新建篮子"));
  setAttribute(Qt::WA_DeleteOnClose);
  setAcceptDrops(true);
  GV::setScaledWindowSize(*this, WINDOW_SIZE);
  m_draft.setChosenLayout([this](const std::string& titles) { return m_store.layoutFor(titles); });
  m_draft.setLimits(store.limits());
  m_pLimits->showState();
  m_pTabs->addTab(m_pLines, QStringLiteral("明细"));
  m_pTabs->addTab(m_pSource, QStringLiteral("来源"));
  auto* splitter = new QSplitter(this);
  splitter->addWidget(m_pTabs);
  splitter->addWidget(createSides());
  splitter->setStretchFactor(0, 1);
  splitter->setCollapsible(0, false);
  auto* layout = new QVBoxLayout(this);
  GV::setScaledMargins(*layout, {9, 9, 9, 9});
  GV::setScaledSpacing(*layout, 6);
  layout->addWidget(createTop());
  layout->addWidget(m_pNote);
  layout->addWidget(m_pSummary);
  layout->addWidget(splitter, 1);
  layout->addWidget(createBottom());
  m_pNote->setTextFormat(Qt::PlainText);
  m_pNote->setWordWrap(true);
  m_pNote->setProperty("invalid", true);
  m_pNote->hide();

  connect(m_pSummary, &CSummaryBar::sigFilter, m_pLines, &CLineView::setFilter);
  connect(m_pLimits, &CLimitsBox::sigChanged, this, [this] { m_store.saveLimits(m_draft.state().m_limits); });
  connect(m_pName, &QLineEdit::textEdited, &m_draft, &CDraft::setName);
  connect(&m_draft, &CDraft::sigJudged, this, [this] { showState(); });
  m_keepTimer.setSingleShot(true);
  m_keepTimer.setInterval(KEEP_MSEC);
  connect(&m_keepTimer, &QTimer::timeout, this, [this] { keep(); });
  connect(&m_draft, &CDraft::sigEdited, this, [this] {
    m_bDirty = true;
    if (!m_keepTimer.isActive()) m_keepTimer.start();
    showState();
  });
  showState();
}

/// What shows the draft goes before it: hiding ends an edit that is open.
CNewBasketWindow::~CNewBasketWindow() {
  hide();
  keep();
  qDeleteAll(findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly));
}

QPushButton* CNewBasketWindow::addButton(QLayout& layout, const QString& text, void (CNewBasketWindow::*pressed)()) {
  auto* button = new QPushButton(text, this);
  // Enter must never send: no button takes it but the one that has the focus.
  button->setAutoDefault(false);
  GV::setScaledFixedSize(*button, BUTTON_SIZE);
  if (pressed) connect(button, &QPushButton::clicked, this, pressed);
  layout.addWidget(button);
  return button;
}

QWidget* CNewBasketWindow::createTop() {
  auto* top = new QWidget(this);
  auto* row = new QHBoxLayout(top);
  row->setContentsMargins(0, 0, 0, 0);
  GV::setScaledSpacing(*row, 6);
  addButton(*row, QStringLiteral("打开文件…"), &CNewBasketWindow::chooseFile);
  addButton(*row, QStringLiteral("粘贴"), &CNewBasketWindow::paste);
  m_pReload = addButton(*row, QStringLiteral("重新读入"), &CNewBasketWindow::reload);
  addButton(*row, QStringLiteral("添加一行"), &CNewBasketWindow::addLine);
  addButton(*row, QStringLiteral("草稿 ▾"), nullptr)->setMenu(m_pDraftMenu);
  connect(m_pDraftMenu, &QMenu::aboutToShow, this, [this] { fillDraftMenu(); });
  row->addStretch(1);
  row->addWidget(new QLabel(QStringLiteral("篮子名称"), top));
  m_pName->setAccessibleName(QStringLiteral("篮子名称"));
  m_pName->installEventFilter(this);
  GV::setScaledFixedWidth(*m_pName, 260);
  row->addWidget(m_pName);
  return top;
}

QWidget* CNewBasketWindow::createSides() {
  auto* tabs = new QTabWidget(this);
  tabs->addTab(m_pAccounts, QStringLiteral("账户"));
  tabs->addTab(m_pTrade, QStringLiteral("交易与对冲"));
  tabs->addTab(m_pLimits, QStringLiteral("限额"));
  GV::followScale(*tabs, [tabs] { tabs->setMinimumWidth(GV::CUiResource::scaled(SIDE_WIDTH)); });
  return tabs;
}

QWidget* CNewBasketWindow::createBottom() {
  auto* bottom = new QWidget(this);
  auto* row = new QHBoxLayout(bottom);
  row->setContentsMargins(0, 0, 0, 0);
  GV::setScaledSpacing(*row, 6);
  m_pSentence->setTextFormat(Qt::PlainText);
  m_pSentence->setWordWrap(true);
  row->addWidget(m_pSentence, 1);
  addButton(*row, QStringLiteral("丢弃草稿"), &CNewBasketWindow::discard);
  addButton(*row, QStringLiteral("关闭"), &QDialog::reject);
  m_pSend = addButton(*row, QStringLiteral("发送"), &CNewBasketWindow::send);
  m_pSend->setProperty("defaultButton", true);
  return bottom;
}

// Where the lines come from

void CNewBasketWindow::chooseFile() {
  const QString file =
      QFileDialog::getOpenFileName(this, QStringLiteral("打开篮子文件"),
                                   QFileInfo(m_draft.state().m_strFile).absolutePath(), QString::fromUtf8(FILE_FILTER));
  if (!file.isEmpty()) openFile(file);
}

void CNewBasketWindow::openFile(const QString& file) {
  basket::SSource source;
  const bool read = GV::runLongWork(this, QStringLiteral("正在读入 %1").arg(QFileInfo(file).fileName()),
                                    [&source, path = file.toStdString()](GV::CWorkProgress& progress) {
                                      source = basket::readSourceFile(path);
                                      return !progress.isCancelled();
                                    });
  if (!read) return;
  const bool again = m_draft.state().m_strFile == file && !m_draft.state().m_lines.empty();
  if (!useSource(std::move(source), QFileInfo(file).completeBaseName(), again)) return;
  m_draft.setFile(file);
  if (again && m_draft.goneCount() > 0) showNote(QStringLiteral("%1 行已不在文件里").arg(m_draft.goneCount()));
  showState();
}

void CNewBasketWindow::takeText(const QByteArray& bytes, const QString& name) {
  const std::string text = bytes.toStdString();
  basket::SSource source = basket::readSourceText(text);
  if (m_draft.state().m_lines.empty()) {
    useSource(std::move(source), name, false);
    return;
  }
  if (!source.m_strFault.empty()) return showNote(QString::fromStdString(source.m_strFault));
  // They have no place among the rows of the source.
  QStringList leftOut;
  for (const basket::SLeftOut& row : m_draft.append(source)) {
    leftOut << QStringLiteral("第 %1 行（%2）").arg(row.m_nLine).arg(QString::fromStdString(row.m_strReason));
  }
  const QString more = leftOut.size() > MOST_TOLD ? QStringLiteral(" 等 %1 行").arg(leftOut.size()) : QString();
  const QString rows = QStringList(leftOut.mid(0, MOST_TOLD)).join(QStringLiteral("、")) + more;
  showNote(leftOut.isEmpty() ? QString() : QStringLiteral("加入的文字里没有读入：") + rows);
}

/// False, and the window says why, when nothing could be read.
bool CNewBasketWindow::useSource(basket::SSource source, const QString& name, bool again) {
  showNote(QString::fromStdString(source.m_strFault));
  if (!source.m_strFault.empty()) return false;
  if (source.m_sheets.empty()) {
    showNote(QStringLiteral("没有可读入的内容"));
    return false;
  }
  // Another source makes another draft; this one stays among those that are kept.
  if (!again && !m_draft.state().m_lines.empty()) {
    keep();
    m_strId.clear();
    m_draft.setName(QString());
    m_draft.setSizing({});
  }
  m_draft.setSource(std::move(source), again);
  if (m_draft.state().m_strName.isEmpty()) m_draft.setName(name);
  m_pName->setText(m_draft.state().m_strName);
  return true;
}

void CNewBasketWindow::paste() {
  const QString text = QApplication::clipboard()->text();
  if (text.trimmed().isEmpty()) return showNote(QStringLiteral("剪贴板里没有文字"));
  takeText(text.toUtf8(), QStringLiteral("粘贴的篮子"));
}

void CNewBasketWindow::reload() {
  if (!m_draft.state().m_strFile.isEmpty()) openFile(m_draft.state().m_strFile);
}

void CNewBasketWindow::addLine() {
  m_pTabs->setCurrentWidget(m_pLines);
  m_pLines->editLine(m_draft.addLine());
}

// Drafts

void CNewBasketWindow::fillDraftMenu() {
  m_pDraftMenu->clear();
  const std::vector<SKeptDraft> kept = m_store.list();
  for (const bool sent : {false, true}) {
    m_pDraftMenu->addSection(sent ? QStringLiteral("已发送") : QStringLiteral("草稿"));
    for (const SKeptDraft& each : kept) {
      if (each.m_bSent != sent || each.m_strId == m_strId) continue;
      const QString text = QStringLiteral("%1  %2 行  %3")
                               .arg(each.m_strName.isEmpty() ? QStringLiteral("未命名") : each.m_strName)
                               .arg(each.m_nLines)
                               .arg(each.m_time.toString(QStringLiteral("MM-dd hh:mm")));
      m_pDraftMenu->addAction(text, this, [this, id = each.m_strId] { openDraft(id); });
    }
  }
}

/// Two windows with one draft would write over each other's edits.
CNewBasketWindow* CNewBasketWindow::otherWindowWith(const QString& id) const {
  for (QWidget* each : QApplication::topLevelWidgets()) {
    auto* window = qobject_cast<CNewBasketWindow*>(each);
    if (!window || window == this || !window->isVisible()) continue;
    if (&window->m_store == &m_store && window->m_strId == id) return window;
  }
  return nullptr;
}

/// A sent basket is opened as a draft of its own: what was sent stays as it was.
void CNewBasketWindow::openDraft(const QString& id) {
  if (CNewBasketWindow* other = otherWindowWith(id)) {
    other->setWindowState(other->windowState() & ~Qt::WindowMinimized);
    other->raise();
    return other->activateWindow();
  }
  keep();
  m_store.finish();
  const auto kept = m_store.load(id);
  if (!kept) return showNote(QStringLiteral("草稿读不出来"));
  bool sent = false;
  for (const SKeptDraft& each : m_store.list()) sent = sent || (each.m_strId == id && each.m_bSent);
  m_strId = sent ? QString() : id;
  m_draft.restore(*kept);
  m_pName->setText(kept->m_strName);
  m_pTrade->showState();
  m_pLimits->showState();
  m_bDirty = sent;
  showNote({});
}

void CNewBasketWindow::keep() {
  m_keepTimer.stop();
  if (!std::exchange(m_bDirty, false) || m_bSent) return;
  if (m_draft.state().m_lines.empty()) return;
  if (m_strId.isEmpty()) m_strId = m_store.newId();
  m_store.save(m_strId, m_draft.state(), false);
  if (m_store.hasFailed()) showNote(QStringLiteral("草稿没有保存：文件夹不能写"));
}

void CNewBasketWindow::discard() {
  const auto answer = QMessageBox::question(this, QStringLiteral("新建篮子"), QStringLiteral("丢弃这个草稿？"),
                                            QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
  if (answer != QMessageBox::Yes) return;
  m_bDirty = false;
  if (!m_strId.isEmpty()) m_store.remove(m_strId);
  reject();
}

// Sending

void CNewBasketWindow::send() {
  // An editor that is open is committed by the loss of the focus.
  m_pSend->setFocus();
  if (!m_draft.refusal().isEmpty() || !m_pTrade->fault().isEmpty()) return;
  // What the question tells of is what is sent, whatever the prices do meanwhile.
  const SSentBasket basket = m_draft.toSend();
  QMessageBox box(QMessageBox::Question, QStringLiteral("发送篮子"), m_draft.sentence(), QMessageBox::NoButton, this);
  box.setTextFormat(Qt::PlainText);
  QPushButton* go = box.addButton(QStringLiteral("发送"), QMessageBox::AcceptRole);
  box.setDefaultButton(box.addButton(QStringLiteral("取消"), QMessageBox::RejectRole));
  box.exec();
  if (box.clickedButton() != go || !m_draft.refusal().isEmpty()) return showState();
  m_host.send(basket);
  m_bSent = true;
  if (m_strId.isEmpty()) m_strId = m_store.newId();
  m_store.save(m_strId, m_draft.state(), true);
  accept();
}

void CNewBasketWindow::showNote(const QString& text) {
  m_pNote->setText(text);
  m_pNote->setVisible(!text.isEmpty());
}

void CNewBasketWindow::showState() {
  const QString wrong = m_pTrade->fault();
  const QString refusal = wrong.isEmpty() ? m_draft.refusal() : QStringLiteral("交易参数：") + wrong;
  m_pSend->setEnabled(refusal.isEmpty());
  m_pSentence->setText(refusal.isEmpty() ? m_draft.sentence() : refusal);
  m_pReload->setEnabled(!m_draft.state().m_strFile.isEmpty());
  const std::size_t leftOut = m_draft.leftOut().size();
  const QString title = leftOut > 0 ? QStringLiteral("来源（%1 行未读入）").arg(leftOut) : QStringLiteral("来源");
  if (m_pTabs->tabText(1) != title) m_pTabs->setTabText(1, title);
}

// Window

void CNewBasketWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (!localFile(*event->mimeData()).isEmpty() || event->mimeData()->hasText()) event->acceptProposedAction();
}

void CNewBasketWindow::dropEvent(QDropEvent* event) {
  const QString file = localFile(*event->mimeData());
  if (!file.isEmpty()) return openFile(file);
  takeText(event->mimeData()->text().toUtf8(), QStringLiteral("拖入的篮子"));
}

void CNewBasketWindow::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Paste)) return paste();
  if (event->key() == Qt::Key_Insert) return addLine();
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return;
  QDialog::keyPressEvent(event);
}

/// A whole basket that is pasted into the name's field is meant for the lines.
bool CNewBasketWindow::eventFilter(QObject* object, QEvent* event) {
  const bool pasting = event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
  if (object == m_pName && pasting && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Paste) &&
      QApplication::clipboard()->text().contains(QLatin1Char('\n'))) {
    event->accept();
    if (event->type() == QEvent::KeyPress) paste();
    return true;
  }
  return QDialog::eventFilter(object, event);
}

void CNewBasketWindow::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (!event->spontaneous()) m_pLines->setFocus();
  m_draft.setWatched(true);
}

void CNewBasketWindow::hideEvent(QHideEvent* event) {
  m_draft.setWatched(false);
  QDialog::hideEvent(event);
}

void CNewBasketWindow::done(int result) {
  keep();
  QDialog::done(result);
}

}  // namespace preview
