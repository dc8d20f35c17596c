#include "gv/CUiResource.h"

#include <QApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QPainter>
#include <QPalette>
#include <QRegularExpression>
#include <QSet>
#include <QStyleFactory>
#include <algorithm>
#include <cmath>
#include <map>

namespace GV {

namespace {

struct SFontEntry {
  QString family;
  int pixels = 12;
  bool bold = false;
};

using ImagePainter = void (*)(QPainter& painter, const QRectF& area);

QColor themeColor(const char* key) { return *CUiResource::getColor(QString::fromLatin1(key)); }

void paintDownArrow(QPainter& painter, const QRectF& area) {
  QPolygonF arrow;
  const QPointF middle = area.center();
  const double half = area.width() / 4;
  arrow << middle + QPointF(-half, -half / 2) << middle + QPointF(half, -half / 2) << middle + QPointF(0, half * 0.7);
  painter.setPen(Qt::NoPen);
  painter.setBrush(themeColor("clr_btn_s_nonormal_0"));
  painter.drawPolygon(arrow);
}

/// A cog wheel.
void paintSettings(QPainter& painter, const QRectF& area) {
  painter.translate(area.center());
  const double radius = area.width() * 0.30;
  painter.setPen(Qt::NoPen);
  painter.setBrush(themeColor("clr_btn_s_nonormal_0"));
  for (int tooth = 0; tooth < 8; ++tooth) {
    painter.drawRect(QRectF(-radius * 0.2, -radius * 1.4, radius * 0.4, radius * 0.6));
    painter.rotate(45);
  }
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(themeColor("clr_btn_s_nonormal_0"), radius * 0.5));
  painter.drawEllipse(QPointF(0, 0), radius * 0.8, radius * 0.8);
}

/// A funnel.
void paintFilterMark(QPainter& painter, const QRectF& area) {
  const double unit = area.width() / 10;
  QPolygonF funnel;
  for (const QPointF& corner :
       {QPointF(0.5, 1), QPointF(9.5, 1), QPointF(6, 5), QPointF(6, 9.5), QPointF(4, 8), QPointF(4, 5)}) {
    funnel << area.topLeft() + corner * unit;
  }
  painter.setPen(Qt::NoPen);
  painter.setBrush(themeColor("clr_accent"));
  painter.drawPolygon(funnel);
}

void paintToolBarGround(QPainter& painter, const QRectF& area) {
  painter.fillRect(area, themeColor("clr_toolbar_background"));
  painter.fillRect(QRectF(area.left(), area.bottom() - 1, area.width(), 1), themeColor("clr_line"));
}

struct SImage {
  QSize size;
  ImagePainter paint;
};

const std::map<QString, SImage>& images() {
  static const std::map<QString, SImage> table = {
      {QStringLiteral("tc_img_combo_btn_small_nonormal"), {{12, 12}, paintDownArrow}},
      {QStringLiteral("tc_img_btn_set_small"), {{18, 18}, paintSettings}},
      {QStringLiteral("gv_img_filter_mark"), {{10, 10}, paintFilterMark}},
      {QStringLiteral("tc_img_op_hedge_type_bg"), {{8, 38}, paintToolBarGround}},
  };
  return table;
}

/// The one store behind the static operations.
class CStore {
 public:
  CStore() { load(QStringLiteral("dark")); }

  static CStore& instance() {
    static CStore store;
    return store;
  }

  bool load(const QString& name) {
    QFile file(QStringLiteral(":/gv/themes/%1.json").arg(name));
    if (!file.open(QIODevice::ReadOnly)) return false;
    QJsonParseError error{};
    const QJsonObject root = QJsonDocument::fromJson(file.readAll(), &error).object();
    if (root.isEmpty()) {
      qWarning("theme %s, offset %d: %s", qPrintable(name), error.offset, qPrintable(error.errorString()));
      return false;
    }
    m_strTheme = name;
    loadColors(root[QStringLiteral("colors")].toObject());
    m_sidePalettes = root[QStringLiteral("side_palettes")].toObject();
    loadColors(m_sidePalettes[m_strSidePalette].toObject());
    loadFonts(root[QStringLiteral("fonts")].toObject());
    const QJsonObject sizes = root[QStringLiteral("sizes")].toObject();
    for (auto it = sizes.begin(); it != sizes.end(); ++it) m_sizes[it.key()] = it.value().toInt();
    return true;
  }

  bool loadSidePalette(const QString& name) {
    if (!m_sidePalettes.contains(name)) return false;
    m_strSidePalette = name;
    loadColors(m_sidePalettes[name].toObject());
    return true;
  }

  void reportOnce(const char* kind, const QString& key) {
    if (m_reported.contains(key)) return;
    m_reported.insert(key);
    qWarning("theme %s: no %s named \"%s\"", qPrintable(m_strTheme), kind, qPrintable(key));
  }

  QString m_strTheme;
  QString m_strSidePalette = QStringLiteral("red-buy");
  QJsonObject m_sidePalettes;  ///< of the theme
  double m_dScale = 1.0;
  std::map<QString, QColor> m_colors;  ///< a map, so that a colour stays where it is
  std::map<QString, SFontEntry> m_fonts;
  std::map<QString, int> m_sizes;
  QSet<QString> m_reported;
  std::vector<CUiResourceChangeHandler*> m_handlers;

 private:
  void loadColors(const QJsonObject& colors) {
    for (auto it = colors.begin(); it != colors.end(); ++it) {
      const QColor color(it.value().toString());
      if (!color.isValid()) qWarning("theme %s: bad colour %s", qPrintable(m_strTheme), qPrintable(it.key()));
      m_colors[it.key()] = color.isValid() ? color : QColor(Qt::magenta);
    }
  }

  void loadFonts(const QJsonObject& fonts) {
    for (auto it = fonts.begin(); it != fonts.end(); ++it) {
      const QJsonObject font = it.value().toObject();
      m_fonts[it.key()] = {font[QStringLiteral("family")].toString(), font[QStringLiteral("pixels")].toInt(12),
                           font[QStringLiteral("bold")].toBool()};
    }
  }
};

void tellHandlers(void (CUiResourceChangeHandler::*what)()) {
  const std::vector<CUiResourceChangeHandler*> handlers = CStore::instance().m_handlers;
  const std::vector<CUiResourceChangeHandler*>& living = CStore::instance().m_handlers;
  for (CUiResourceChangeHandler* handler : handlers) {
    // One that was told may have taken others away.
    if (std::find(living.begin(), living.end(), handler) != living.end()) (handler->*what)();
  }
}

QPalette palette() {
  const QColor text = themeColor("clr_text_default");
  const QColor disabled = themeColor("clr_text_disabled");
  QPalette result;
  const std::pair<QPalette::ColorRole, QColor> roles[] = {
      {QPalette::Window, themeColor("clr_order_operation_background")},
      {QPalette::WindowText, text},
      {QPalette::Base, themeColor("clr_table_background")},
      {QPalette::AlternateBase, themeColor("clr_table_background2")},
      {QPalette::Text, text},
      {QPalette::Button, themeColor("clr_btn_background")},
      {QPalette::ButtonText, text},
      {QPalette::ToolTipBase, themeColor("clr_popup_background")},
      {QPalette::ToolTipText, text},
      {QPalette::Highlight, themeColor("clr_table_selection")},
      {QPalette::HighlightedText, text},
      {QPalette::Mid, themeColor("clr_line")},
      {QPalette::Link, themeColor("clr_text_link")},
      {QPalette::PlaceholderText, themeColor("clr_text_title")},
  };
  for (const auto& [role, color] : roles) result.setColor(role, color);
  for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    result.setColor(QPalette::Disabled, role, disabled);
  }
  return result;
}

/// Replaces each match by what the text of its first group stands for.
void replaceAll(QString& text, const QRegularExpression& pattern, QString (*replacement)(const QString& group)) {
  QString result;
  int end = 0;
  for (auto matches = pattern.globalMatch(text); matches.hasNext();) {
    const QRegularExpressionMatch match = matches.next();
    result += text.midRef(end, match.capturedStart() - end) + replacement(match.captured(1));
    end = match.capturedEnd();
  }
  text = result + text.midRef(end);
}

}  // namespace

CUiResourceChangeHandler::CUiResourceChangeHandler() { CStore::instance().m_handlers.push_back(this); }

CUiResourceChangeHandler::~CUiResourceChangeHandler() {
  std::vector<CUiResourceChangeHandler*>& handlers = CStore::instance().m_handlers;
  handlers.erase(std::remove(handlers.begin(), handlers.end(), this), handlers.end());
}

bool CUiResource::setTheme(const QString& name) {
  if (!CStore::instance().load(name)) return false;
  tellHandlers(&CUiResourceChangeHandler::resourceChanged);
  return true;
}

QString CUiResource::theme() { return CStore::instance().m_strTheme; }

bool CUiResource::setSidePalette(const QString& name) {
  if (!CStore::instance().loadSidePalette(name)) return false;
  tellHandlers(&CUiResourceChangeHandler::resourceChanged);
  return true;
}

QString CUiResource::sidePalette() { return CStore::instance().m_strSidePalette; }

QColor CUiResource::shownColor(const QColor& answered) {
  switch (answered.rgb()) {
    case 0xffff0000:
      return themeColor("clr_side_buy");
    case 0xff006400:
      return themeColor("clr_side_sell");
    case 0xff0000ff:
      return themeColor("clr_side_mixed");
    default:
      return answered;
  }
}

void CUiResource::setScale(double scale) {
  if (!(scale > 0) || !std::isfinite(scale) || scale == CStore::instance().m_dScale) return;
  CStore::instance().m_dScale = scale;
  tellHandlers(&CUiResourceChangeHandler::scaleChanged);
}

const QColor* CUiResource::getColor(const QString& key) {
  static const QColor missing(Qt::magenta);
  CStore& store = CStore::instance();
  const auto found = store.m_colors.find(key);
  if (found != store.m_colors.end()) return &found->second;
  store.reportOnce("colour", key);
  return &missing;
}

double CUiResource::scale() { return CStore::instance().m_dScale; }

int CUiResource::scaled(int pixels) {
  const int result = qRound(pixels * CStore::instance().m_dScale);
  return pixels > 0 ? std::max(1, result) : result;
}

QFont CUiResource::getFont(const QString& key) {
  CStore& store = CStore::instance();
  const auto found = store.m_fonts.find(key);
  if (found == store.m_fonts.end()) store.reportOnce("font", key);
  const SFontEntry entry = found == store.m_fonts.end() ? SFontEntry{QString(), 12, false} : found->second;
  QFont font(entry.family);
  font.setStyleHint(QFont::SansSerif);
  font.setPixelSize(std::max(1, qRound(entry.pixels * store.m_dScale)));
  font.setBold(entry.bold);
  font.setKerning(false);
  return font;
}

int CUiResource::getSize(const QString& key) {
  CStore& store = CStore::instance();
  const auto found = store.m_sizes.find(key);
  if (found == store.m_sizes.end()) store.reportOnce("size", key);
  return scaled(found == store.m_sizes.end() ? 20 : found->second);
}

QPixmap CUiResource::getPixmap(const QString& key) {
  const auto found = images().find(key);
  if (found == images().end()) {
    CStore::instance().reportOnce("image", key);
    return {};
  }
  const QSize size = found->second.size * CStore::instance().m_dScale;
  QPixmap pixmap(size);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  found->second.paint(painter, QRectF(QPointF(0, 0), QSizeF(size)));
  return pixmap;
}

QString CUiResource::styleSheet() {
  QFile file(QStringLiteral(":/gv/themes/style.qss"));
  if (!file.open(QIODevice::ReadOnly)) return {};
  QString sheet = QString::fromUtf8(file.readAll());
  static const QRegularExpression color(QStringLiteral("@(clr_[a-z0-9_]+)"));
  static const QRegularExpression pixels(QStringLiteral("\\b([0-9]+)px"));
  replaceAll(sheet, color, [](const QString& key) { return getColor(key)->name(); });
  // A line grows later than a margin does: rather fine than blurred.
  replaceAll(sheet, pixels, [](const QString& number) {
    const int size = number.toInt();
    return QStringLiteral("%1px").arg(size == 1 ? std::max(1, static_cast<int>(scale())) : scaled(size));
  });
  return sheet;
}

void CUiResource::applyToApplication() {
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  QApplication::setPalette(palette());
  QApplication::setFont(getFont(QStringLiteral("fnt_default_normal")));
  static_cast<QApplication*>(QApplication::instance())->setStyleSheet(styleSheet());
}

}  // namespace GV
