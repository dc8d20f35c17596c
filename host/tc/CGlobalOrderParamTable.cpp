#include "tc/CGlobalOrderParamTable.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QVBoxLayout>

#include "gv/Controls.h"
#include "ksservice/Operations.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"

namespace TC {

using ksservice::CEnumsDataHelper;

namespace {

/// Ids of the choices: one of these and the value that is chosen.
constexpr int ID_NORMAL = 1000;
constexpr int ID_SMART = 1001;
constexpr int ID_AS_IS = 1002;
constexpr int ID_PRICE = 2000;
constexpr int ID_ALGORITHM = 3000;

constexpr int TITLE_WIDTH = 64;
constexpr int CHOICE_HEIGHT = 24;

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
  layout->setContentsMargins(12, 12, 12, 0);
  layout->setSpacing(10);
  layout->addWidget(createChoices({{ID_NORMAL, CEnumsDataHelper::orderTypeToFormatString(ksservice::EORT_Plain)},
                                   {ID_SMART, CEnumsDataHelper::orderTypeToFormatString(ksservice::EORT_Algo)}},
                                  2));
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
  layout->setSpacing(8);
  layout->addWidget(new QLabel(QStringLiteral("价格类型"), page));
  std::vector<std::pair<int, QString>> choices = {{ID_AS_IS, QStringLiteral("默认")}};
  for (const int type : offeredPriceTypes(accountType)) {
    choices.emplace_back(ID_PRICE + type, CEnumsDataHelper::priceTypeToFormatString(type));
  }
  layout->addWidget(createChoices(choices, 2));
  m_pPriceNote = new QLabel(page);
  m_pPriceNote->setWordWrap(true);
  layout->addWidget(m_pPriceNote);
  return page;
}

QWidget* CGlobalOrderParamTable::createAlgorithms() {
  auto* page = new QWidget(this);
  auto* layout = new QVBoxLayout(page);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(8);
  layout->addWidget(new QLabel(QStringLiteral("算法"), page));
  std::vector<std::pair<int, QString>> choices;
  for (const EAlgorithm algorithm : {EAlgorithm::TWAP, EAlgorithm::VWAP, EAlgorithm::POV}) {
    choices.emplace_back(ID_ALGORITHM + static_cast<int>(algorithm), QString::fromLatin1(algorithmName(algorithm)));
  }
  layout->addWidget(createChoices(choices, 3));
  for (const SField& field : fields()) layout->addWidget(createField(field));
  m_pMessage = new QLabel(page);
  m_pMessage->setWordWrap(true);
  m_pMessage->setProperty("invalid", true);
  layout->addWidget(m_pMessage);
  return page;
}

QWidget* CGlobalOrderParamTable::createChoices(const std::vector<std::pair<int, QString>>& choices, int columns) {
  auto* box = new QWidget(this);
  auto* grid = new QGridLayout(box);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(6);
  int place = 0;
  for (const auto& [id, text] : choices) {
    auto* button = new GV::CSmallNoNormalButton(id, text, box);
    button->setCheckable(true);
    // Enter is for the dialog's own button.
    button->setAutoDefault(false);
    button->setFixedHeight(CHOICE_HEIGHT);
    grid->addWidget(button, place / columns, place % columns);
    m_choices.push_back({id, button});
    ++place;
  }
  return box;
}

QWidget* CGlobalOrderParamTable::createField(const SField& field) {
  auto* line = new QWidget(this);
  auto* layout = new QHBoxLayout(line);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* title = new QLabel(QString::fromUtf8(field.title), line);
  title->setFixedWidth(TITLE_WIDTH);
  auto* editor = new QLineEdit(line);
  editor->setPlaceholderText(QString::fromUtf8(field.form));
  editor->setAccessibleName(title->text());
  editor->setFixedHeight(CHOICE_HEIGHT);
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
  const bool smart = ksservice::DataHelper::isAlgoOrderType(orderType());
  const int algorithm = algorithmIndex();
  const int price = priceType() ? ID_PRICE + *priceType() : ID_AS_IS;
  for (const SChoice& choice : m_choices) {
    choice.button->setChecked(choice.id == (smart ? ID_SMART : ID_NORMAL) || choice.id == price ||
                              (algorithm != NO_ALGORITHM && choice.id == ID_ALGORITHM + algorithm));
  }
  m_pPrices->setVisible(!smart);
  m_pAlgorithms->setVisible(smart);
  m_pPriceNote->setText(QStringLiteral("“默认”按限价委托，价格取委托价；\n原任务为“%1”。")
                            .arg(CEnumsDataHelper::priceTypeToFormatString(loadedPriceType())));
  for (const SInput& input : m_inputs) {
    const QSignalBlocker quiet(input.editor);
    input.editor->setText(input.field->text(algoParams()));
    input.line->setVisible(shows(input, algoParams()));
  }
  checkFields();
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
  if (id >= ID_ALGORITHM) {
    chooseAlgorithm(static_cast<EAlgorithm>(id - ID_ALGORITHM));
  } else if (id >= ID_PRICE) {
    choosePriceType(id - ID_PRICE);
  } else if (id == ID_AS_IS) {
    choosePriceType(std::nullopt);
  } else {
    chooseTrade(id == ID_SMART);
  }
  return true;
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
