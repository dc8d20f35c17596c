#include "tc/CGlobalOrderParamTable.h"

#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>

#include "gv/Controls.h"
#include "gv/Scaling.h"
#include "ksservice/Operations.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"

namespace TC {

using ksservice::CEnumsDataHelper;

namespace {

/// Values of the choice of the trade.
constexpr int NORMAL = 0;
constexpr int SMART = 1;

// Pixels at scale 1.
constexpr int TITLE_WIDTH = 64;
constexpr int CHOICE_HEIGHT = 24;

constexpr int PRICE_COLUMNS = 2;

bool tradesByCode(int accountType) { return accountType == 1 || accountType == 5 || accountType == 6; }

std::vector<int> offeredPriceTypes(int accountType) {
  std::vector<int> types = {ksservice::EPT_Limit, ksservice::EPT_Latest, ksservice::EPT_Counterpart};
  if (!tradesByCode(accountType)) types.insert(types.end(), {ksservice::EPT_MarketSH, ksservice::EPT_MarketSZ});
  if (getUserConfig().hasUpStopPrice()) types.insert(types.end(), {ksservice::EPT_LimitUp, ksservice::EPT_LimitDown});
  return types;
}

bool readTime(const QString& text, int& out) {
  const int second = parseSecondOfDay(text.trimmed().toStdString());
  if (second >= 0) out = second;
  return second >= 0;
}

bool readWhole(const QString& text, int& out) {
  bool right = false;
  const int value = text.toInt(&right);
  if (right) out = value;
  return right;
}

/// Without a decimal comma and other ways of a locale.
bool readReal(const QString& text, double& out) {
  bool right = false;
  const double value = text.trimmed().toDouble(&right);
  if (right) out = value;
  return right;
}

QString realText(double value) { return QString::fromStdString(formatFixed(value)); }

QLabel* createNote(QVBoxLayout& layout) {
  auto* note = new QLabel(layout.parentWidget());
  note->setTextFormat(Qt::PlainText);
  note->setWordWrap(true);
  layout.addWidget(note);
  return note;
}

void showNote(QLabel& note, bool holds, const QString& text) {
  note.setText(holds ? text : QString());
  note.setVisible(holds);
}

}  // namespace

/// Messages of SAlgoParams::check begin with the title of the field that they are about.
struct CGlobalOrderParamTable::SField {
  const char* title;
  const char* form;  ///< what must stand in it
  bool slices;       ///< only for algorithms with slices
  bool rate;         ///< only for participation
  bool limit;        ///< one of those that can be out of sight
  bool (*read)(const QString& text, SAlgoParams& out);
  QString (*text)(const SAlgoParams& params);
};

const std::vector<CGlobalOrderParamTable::SField>& CGlobalOrderParamTable::fields() {
  static const std::vector<SField> table = {
      {"开始时间", "hh:mm:ss", false, false, false,
       [](const QString& text, SAlgoParams& out) { return readTime(text, out.m_nStart); },
       [](const SAlgoParams& p) { return QString::fromStdString(formatSecondOfDay(p.m_nStart)); }},
      {"结束时间", "hh:mm:ss", false, false, false,
       [](const QString& text, SAlgoParams& out) { return readTime(text, out.m_nEnd); },
       [](const SAlgoParams& p) { return QString::fromStdString(formatSecondOfDay(p.m_nEnd)); }},
      {"拆单笔数", "整数", true, false, false,
       [](const QString& text, SAlgoParams& out) { return readWhole(text, out.m_nSlices); },
       [](const SAlgoParams& p) { return QString::number(p.m_nSlices); }},
      {"参与率", "大于 0 且不大于 1", false, true, false,
       [](const QString& text, SAlgoParams& out) { return readReal(text, out.m_dRate); },
       [](const SAlgoParams& p) { return realText(p.m_dRate); }},
      {"限价", "不限", false, false, true,
       [](const QString& text, SAlgoParams& out) {
         if (!text.trimmed().isEmpty()) return readReal(text, out.m_dLimit);
         out.m_dLimit = 0;
         return true;
       },
       [](const SAlgoParams& p) { return p.m_dLimit > 0 ? realText(p.m_dLimit) : QString(); }},
  };
  return table;
}

CGlobalOrderParamTable::CGlobalOrderParamTable(int accountType, QWidget* parent) : COrderParamBaseTable(parent) {
  auto* layout = new QVBoxLayout(this);
  GV::setScaledMargins(*layout, {12, 12, 12, 0});
  GV::setScaledSpacing(*layout, 10);
  QGridLayout* trades = addChoices(*layout);
  addChoice(*trades, 2, EChoice::Trade, NORMAL, CEnumsDataHelper::orderTypeToFormatString(ksservice::EORT_Plain));
  addChoice(*trades, 2, EChoice::Trade, SMART, CEnumsDataHelper::orderTypeToFormatString(ksservice::EORT_Algo));
  m_pAlgoButton = m_choices.back().button;
  m_pPrices = createPrices(accountType);
  m_pAlgorithms = createAlgorithms();
  layout->addWidget(m_pPrices);
  layout->addWidget(m_pAlgorithms);
  layout->addStretch(1);
  CGlobalOrderParamTable::showValues();
}

QWidget* CGlobalOrderParamTable::createPrices(int accountType) {
  auto* page = new QWidget(this);
  auto* layout = new QVBoxLayout(page);
  layout->setContentsMargins(0, 0, 0, 0);
  GV::setScaledSpacing(*layout, 8);
  layout->addWidget(new QLabel(QStringLiteral("价格类型"), page));
  m_pPriceGrid = addChoices(*layout);
  for (const int type : offeredPriceTypes(accountType)) offerPriceType(type);
  m_pPriceNote = createNote(*layout);
  return page;
}

QWidget* CGlobalOrderParamTable::createAlgorithms() {
  auto* page = new QWidget(this);
  auto* layout = new QVBoxLayout(page);
  layout->setContentsMargins(0, 0, 0, 0);
  GV::setScaledSpacing(*layout, 8);
  layout->addWidget(new QLabel(QStringLiteral("算法"), page));
  QGridLayout* algorithms = addChoices(*layout);
  for (const EAlgorithm algorithm : {EAlgorithm::TWAP, EAlgorithm::VWAP, EAlgorithm::POV}) {
    addChoice(*algorithms, 3, EChoice::Algorithm, static_cast<int>(algorithm),
              QString::fromLatin1(algorithmName(algorithm)));
  }
  m_pAlgoNote = createNote(*layout);
  for (const SField& field : fields()) layout->addWidget(createField(field));
  m_pMessage = createNote(*layout);
  m_pMessage->setProperty("invalid", true);
  return page;
}

QGridLayout* CGlobalOrderParamTable::addChoices(QVBoxLayout& layout) {
  auto* box = new QWidget(this);
  auto* grid = new QGridLayout(box);
  grid->setContentsMargins(0, 0, 0, 0);
  GV::setScaledSpacing(*grid, 6);
  layout.addWidget(box);
  return grid;
}

/// The button's id is the choice's place in the list.
void CGlobalOrderParamTable::addChoice(QGridLayout& grid, int columns, EChoice kind, int value, const QString& text) {
  auto* button = new GV::CSmallNoNormalButton(static_cast<int>(m_choices.size()), text, grid.parentWidget());
  button->setCheckable(true);
  button->setAutoDefault(false);
  GV::setScaledFixedHeight(*button, CHOICE_HEIGHT);
  const int place = grid.count();
  grid.addWidget(button, place / columns, place % columns);
  m_choices.push_back({kind, value, button});
}

/// A task may have a price type that is not offered to everybody: what it has can be seen, and chosen again.
void CGlobalOrderParamTable::offerPriceType(int type) {
  const bool offered = std::any_of(m_choices.begin(), m_choices.end(), [type](const SChoice& choice) {
    return choice.kind == EChoice::Price && choice.value == type;
  });
  if (offered) return;
  addChoice(*m_pPriceGrid, PRICE_COLUMNS, EChoice::Price, type, CEnumsDataHelper::priceTypeToFormatString(type));
}

QWidget* CGlobalOrderParamTable::createField(const SField& field) {
  auto* line = new QWidget(this);
  auto* layout = new QHBoxLayout(line);
  layout->setContentsMargins(0, 0, 0, 0);
  GV::setScaledSpacing(*layout, 6);
  auto* title = new QLabel(QString::fromUtf8(field.title), line);
  GV::setScaledFixedWidth(*title, TITLE_WIDTH);
  auto* editor = new QLineEdit(line);
  editor->setPlaceholderText(QString::fromUtf8(field.form));
  editor->setAccessibleName(title->text());
  GV::setScaledFixedHeight(*editor, CHOICE_HEIGHT);
  layout->addWidget(title);
  layout->addWidget(editor, 1);
  const SInput input{&field, line, editor};
  m_inputs.push_back(input);
  connect(editor, &QLineEdit::textChanged, this, [this] { checkFields(); });
  connect(editor, &QLineEdit::editingFinished, this, [this, input] { deliverField(input); });
  return line;
}

// Texts of algorithm parameters

QString CGlobalOrderParamTable::getUiParamByTrdTradeParam(int orderType, const std::string& tradeParamText) const {
  SAlgoParams params;
  if (!ksservice::DataHelper::isAlgoOrderType(orderType)) return {};
  return SAlgoParams::parse(tradeParamText, params).empty() ? QString::fromStdString(params.format()) : QString();
}

void CGlobalOrderParamTable::setSingleMavAlgoParam(int orderType, const QString& uiParam) {
  SAlgoParams params;
  if (SAlgoParams::parse(uiParam.toStdString(), params).empty()) setAlgorithm(orderType, params);
}

void CGlobalOrderParamTable::setAlgoVisible(bool visible) { m_pAlgoButton->setVisible(visible); }

void CGlobalOrderParamTable::setExpandItemsHidden(bool hidden) {
  m_bLimitHidden = hidden;
  showValues();
}

// From the values to the controls

void CGlobalOrderParamTable::showValues() {
  offerPriceType(priceType());
  for (const SChoice& choice : m_choices) choice.button->setChecked(isChosen(choice));
  m_pPrices->setVisible(!isSmart());
  m_pAlgorithms->setVisible(isSmart());
  showNote(*m_pPriceNote, priceType() == ksservice::EPT_User, QStringLiteral("“指定价”取各证券在原任务中最后的价格。"));
  showNote(*m_pAlgoNote, isSmart() && algorithmIndex() == NO_ALGORITHM,
           QStringLiteral("原算法参数无法显示，补单沿用原参数。"));
  for (const SInput& input : m_inputs) {
    const QSignalBlocker quiet(input.editor);
    input.editor->setText(input.field->text(algoParams()));
    input.line->setVisible(shows(input, algoParams()));
  }
  checkFields();
}

bool CGlobalOrderParamTable::isChosen(const SChoice& choice) const {
  switch (choice.kind) {
    case EChoice::Trade:
      return choice.value == (isSmart() ? SMART : NORMAL);
    case EChoice::Price:
      return choice.value == priceType();
    case EChoice::Algorithm:
      return choice.value == algorithmIndex();
  }
  return false;
}

void CGlobalOrderParamTable::showEvent(QShowEvent* event) {
  showValues();
  COrderParamBaseTable::showEvent(event);
}

bool CGlobalOrderParamTable::shows(const SInput& input, const SAlgoParams& params) const {
  if (algorithmIndex() == NO_ALGORITHM || (input.field->limit && m_bLimitHidden)) return false;
  const bool participation = params.m_eAlgorithm == EAlgorithm::POV;
  return (!input.field->slices || !participation) && (!input.field->rate || participation);
}

// From the controls to the values

/// What is wrong with the fields, or empty and the values that stand in them.
QString CGlobalOrderParamTable::readFields(SAlgoParams& out) const {
  out = algoParams();
  for (const SInput& input : m_inputs) {
    if (!shows(input, out) || input.field->read(input.editor->text(), out)) continue;
    const QString form = input.field->limit ? QStringLiteral("数字") : QString::fromUtf8(input.field->form);
    return QStringLiteral("%1须为 %2").arg(QString::fromUtf8(input.field->title), form);
  }
  return QString::fromStdString(out.check());
}

void CGlobalOrderParamTable::checkFields() {
  SAlgoParams params;
  const bool smart = algorithmIndex() != NO_ALGORITHM;
  m_strError = smart ? readFields(params) : QString();
  m_pMessage->setText(m_strError);
  for (const SInput& input : m_inputs) markInput(input);
  Q_EMIT sigInputChecked(m_strError.isEmpty());
}

void CGlobalOrderParamTable::markInput(const SInput& input) {
  const bool invalid = m_strError.startsWith(QString::fromUtf8(input.field->title));
  if (input.editor->property("invalid").toBool() == invalid) return;
  input.editor->setProperty("invalid", invalid);
  input.editor->style()->unpolish(input.editor);
  input.editor->style()->polish(input.editor);
}

void CGlobalOrderParamTable::deliverField(const SInput& input) {
  if (!input.editor->isModified()) return;
  input.editor->setModified(false);
  QString text = input.editor->text();
  GV::CEventDeliverer::deliverEvent(input.editor, GV::EventDialogLineEdit, 0, 0, QString::fromUtf8(input.field->title),
                                    &text);
}

bool CGlobalOrderParamTable::handleEvent(int eventId, int id, int value, QString key, void* payload) {
  if (eventId == GV::EventDialogLineEdit) {
    SAlgoParams params;
    if (readFields(params).isEmpty()) setAlgoParams(params);
    return true;
  }
  if (eventId != GV::EventButtonClicked) return COrderParamBaseTable::handleEvent(eventId, id, value, key, payload);
  choose(m_choices.at(static_cast<std::size_t>(id)));
  return true;
}

void CGlobalOrderParamTable::choose(const SChoice& choice) {
  switch (choice.kind) {
    case EChoice::Trade:
      chooseTrade(choice.value == SMART);
      break;
    case EChoice::Price:
      choosePriceType(choice.value);
      break;
    case EChoice::Algorithm:
      chooseAlgorithm(static_cast<EAlgorithm>(choice.value));
      break;
  }
}

/// Esc in a field takes back what was typed there; a field that holds its value leaves the key to the dialog.
void CGlobalOrderParamTable::keyPressEvent(QKeyEvent* event) {
  const auto typing = std::find_if(m_inputs.begin(), m_inputs.end(), [this](const SInput& input) {
    return input.editor->hasFocus() && input.editor->text() != input.field->text(algoParams());
  });
  if (!event->matches(QKeySequence::Cancel) || typing == m_inputs.end()) {
    COrderParamBaseTable::keyPressEvent(event);
    return;
  }
  // Delivered as an edit: the other fields may have waited for this one to be right.
  editRow(QString::fromUtf8(typing->field->title), typing->field->text(algoParams()));
}

// For scripts

std::vector<GV::SDialogRow> CGlobalOrderParamTable::dialogRows() const {
  std::vector<GV::SDialogRow> rows;
  for (const SInput& input : m_inputs) {
    if (!shows(input, algoParams())) continue;
    GV::SDialogRow row;
    row.key = QString::fromUtf8(input.field->title);
    row.editable = true;
    row.editor = input.editor->text();
    rows.push_back(std::move(row));
  }
  return rows;
}

bool CGlobalOrderParamTable::editRow(const QString& key, const QString& text) {
  for (const SInput& input : m_inputs) {
    if (key != QString::fromUtf8(input.field->title) || !shows(input, algoParams())) continue;
    input.editor->setText(text);
    input.editor->setModified(true);
    deliverField(input);
    return true;
  }
  return false;
}

void CGlobalOrderParamTable::commitEdits() {
  for (const SInput& input : m_inputs) deliverField(input);
}

}  // namespace TC
