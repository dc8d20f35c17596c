/// Colours, fonts, sizes, images and the style sheet of the user interface, by key, from one file for each theme.
#pragma once

#include <QColor>
#include <QFont>
#include <QPixmap>
#include <QSize>
#include <QString>

namespace GV {

/// Follows a change of theme or scale; registered from construction to destruction. GUI thread only.
class CUiResourceChangeHandler {
 public:
  CUiResourceChangeHandler();
  virtual ~CUiResourceChangeHandler();
  CUiResourceChangeHandler(const CUiResourceChangeHandler&) = delete;
  CUiResourceChangeHandler& operator=(const CUiResourceChangeHandler&) = delete;

  virtual void resourceChanged() {}
  virtual void scaleChanged() {}
};

/// GUI thread only. An unknown key is written to the log once and gives a default that catches the eye.
class CUiResource {
 public:
  /// "dark" or "light"; false, and nothing changed, for an unknown theme.
  static bool setTheme(const QString& name);
  static QString theme();
  /// How buys and sells, rises and falls are told apart, in either theme: "red-buy" (the first), "green-buy", or
  /// "colour-blind", orange and blue. False, and nothing changed, for an unknown name.
  static bool setSidePalette(const QString& name);
  static QString sidePalette();
  /// What is painted where a record answers this colour: those by which records tell buys, sells and mixed rows apart
  /// are painted as the palette has them, any other as it is.
  static QColor shownColor(const QColor& answered);
  /// Display scale, 1 for 96 dots per inch; fonts and sizes follow, those of the application when it is applied again.
  /// What is not above 0 changes nothing.
  static void setScale(double scale);
  static double scale();
  /// Pixels at scale 1 as pixels of the screen; what is there stays at least one pixel.
  static int scaled(int pixels);
  static QSize scaled(const QSize& size) { return {scaled(size.width()), scaled(size.height())}; }

  /// Never null; stays valid, and takes the new colour when the theme changes.
  static const QColor* getColor(const QString& key);
  static QFont getFont(const QString& key);
  /// Pixels, scaled.
  static int getSize(const QString& key);
  /// Drawn on demand in the colours of the theme; null for an unknown key.
  static QPixmap getPixmap(const QString& key);
  /// For the application: menus, scroll bars, headers, tool tips, dialogs, inputs.
  static QString styleSheet();
  /// Sets the style sheet, palette and font of the running application.
  static void applyToApplication();
};

}  // namespace GV
