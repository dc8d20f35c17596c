#include "gv/CTextRuns.h"

#include <QFontMetrics>
#include <QGlyphRun>
#include <QPainter>
#include <algorithm>

namespace GV {

namespace {
constexpr int kLatin = 128;
const QChar kEllipsis(0x2026);
}  // namespace

CGlyphFont::CGlyphFont(const QFont& font)
    : m_font(font), m_rawFont(QRawFont::fromFont(font, QFontDatabase::SimplifiedChinese)), m_latin(kLatin) {
  if (!m_rawFont.isValid()) m_rawFont = QRawFont::fromFont(font);
  for (ushort code = ' '; code < kLatin; ++code) m_latin[code] = look(QChar(code));
}

CGlyphFont::SGlyph CGlyphFont::look(QChar character) const {
  if (character.isSurrogate() || character.isMark() || character.script() == QChar::Script_Arabic ||
      character.script() == QChar::Script_Hebrew) {
    return {};
  }
  const QVector<quint32> indexes = m_rawFont.glyphIndexesForString(QString(character));
  if (indexes.size() != 1 || indexes[0] == 0) return {};
  const QVector<QPointF> advances = m_rawFont.advancesForGlyphIndexes(indexes);
  return {indexes[0], static_cast<float>(qRound(advances[0].x()))};
}

const CGlyphFont::SGlyph& CGlyphFont::glyph(QChar character) {
  if (character.unicode() < kLatin) return m_latin[character.unicode()];
  const auto found = m_others.find(character.unicode());
  return found != m_others.end() ? *found : *m_others.insert(character.unicode(), look(character));
}

bool CGlyphFont::isPlain(const QString& text) {
  return std::all_of(text.begin(), text.end(), [this](QChar c) { return glyph(c).index != 0; });
}

double CGlyphFont::width(const QString& text) {
  if (!isPlain(text)) return QFontMetrics(m_font).horizontalAdvance(text);
  double sum = 0;
  for (const QChar character : text) sum += glyph(character).advance;
  return sum;
}

CTextRuns::SRun& CTextRuns::runOf(CGlyphFont& font, const QColor& color) {
  for (SRun& run : m_runs) {
    if (run.font == &font && run.color == &color) return run;
  }
  m_runs.push_back({&font, &color, {}, {}});
  return m_runs.back();
}

void CTextRuns::add(const QRect& rect, int alignment, const QString& text, CGlyphFont& font, const QColor& color) {
  if (text.isEmpty() || rect.width() <= 0) return;
  if (!font.isPlain(text)) {
    m_layoutTexts.push_back({rect, alignment, text, &font, &color});
    return;
  }
  double width = font.width(text);
  int length = text.size();
  const bool cut = width > rect.width();
  if (cut) {
    width += font.glyph(kEllipsis).advance;
    while (length > 0 && width > rect.width()) width -= font.glyph(text[--length]).advance;
  }
  double x = rect.left();
  if (!cut && (alignment & Qt::AlignRight) != 0) x = rect.right() + 1 - width;
  if (!cut && (alignment & Qt::AlignHCenter) != 0) x = rect.left() + qRound((rect.width() - width) / 2);
  const QRawFont& raw = font.rawFont();
  const double baseline = rect.top() + qRound((rect.height() - raw.ascent() - raw.descent()) / 2 + raw.ascent());
  SRun& run = runOf(font, color);
  const auto put = [&](const CGlyphFont::SGlyph& glyph, bool blank) {
    if (!blank) {
      run.glyphs.append(glyph.index);
      run.positions.append(QPointF(x, baseline));
    }
    x += glyph.advance;
  };
  for (int i = 0; i < length; ++i) put(font.glyph(text[i]), text[i] == QLatin1Char(' '));
  if (cut) put(font.glyph(kEllipsis), false);
}

void CTextRuns::draw(QPainter& painter) {
  for (const SRun& run : m_runs) {
    if (run.glyphs.isEmpty()) continue;
    QGlyphRun glyphs;
    glyphs.setRawFont(run.font->rawFont());
    glyphs.setGlyphIndexes(run.glyphs);
    glyphs.setPositions(run.positions);
    painter.setPen(*run.color);
    painter.drawGlyphRun(QPointF(0, 0), glyphs);
  }
  for (const SLayoutText& entry : m_layoutTexts) {
    painter.setFont(entry.font->font());
    painter.setPen(*entry.color);
    const QString text = QFontMetrics(entry.font->font()).elidedText(entry.text, Qt::ElideRight, entry.rect.width());
    painter.drawText(entry.rect, entry.alignment | Qt::TextSingleLine, text);
  }
}

}  // namespace GV
