/// Fast painting of many short texts: glyphs are looked up once for each font and drawn in one run for each colour.
#pragma once

#include <QFont>
#include <QHash>
#include <QPointF>
#include <QRawFont>
#include <QRect>
#include <QString>
#include <QVector>
#include <vector>

class QColor;
class QPainter;

namespace GV {

/// The glyphs of one font. GUI thread only.
class CGlyphFont {
 public:
  explicit CGlyphFont(const QFont& font);

  struct SGlyph {
    quint32 index = 0;  ///< 0 when the font has no glyph for the character
    float advance = 0;
  };
  const SGlyph& glyph(QChar character);
  /// False when a character needs more than one glyph after the other (another font, a surrogate, right to left).
  bool isPlain(const QString& text);
  double width(const QString& text);
  const QFont& font() const { return m_font; }
  const QRawFont& rawFont() const { return m_rawFont; }

 private:
  SGlyph look(QChar character) const;

  QFont m_font;
  QRawFont m_rawFont;
  std::vector<SGlyph> m_latin;
  QHash<ushort, SGlyph> m_others;
};

/// Collects texts and draws them together. Lives for one paint event.
class CTextRuns {
 public:
  /// The text is cut with an ellipsis when it is wider than the rectangle. color is read in draw.
  void add(const QRect& rect, int alignment, const QString& text, CGlyphFont& font, const QColor& color);
  void draw(QPainter& painter);

 private:
  struct SRun {
    CGlyphFont* font;
    const QColor* color;
    QVector<quint32> glyphs;
    QVector<QPointF> positions;
  };
  struct SLayoutText {
    QRect rect;
    int alignment;
    QString text;
    CGlyphFont* font;
    const QColor* color;
  };

  SRun& runOf(CGlyphFont& font, const QColor& color);

  std::vector<SRun> m_runs;
  std::vector<SLayoutText> m_layoutTexts;  ///< what glyph by glyph would paint wrong
};

}  // namespace GV
