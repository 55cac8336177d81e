#pragma once

#include "window/zoom.h"

#include <QByteArray>
#include <QSet>
#include <QString>

class QFont;
class QSettings;

namespace tarn::console {

/// What the console remembers from one start to the next. load() returns valid values only; whoever
/// sets another one keeps to what stands beside it.
struct Preferences
{
    static constexpr int minimumFontPointSize = 7;
    static constexpr int defaultFontPointSize = 11;
    static constexpr int maximumFontPointSize = 36;

    /// "ar" or "en"; nothing else.
    QString interfaceLanguage = QStringLiteral("ar");
    /// Family that goes before the usual ones; empty for none.
    QString fontFamily = {};
    /// minimumFontPointSize to maximumFontPointSize.
    int fontPointSize = defaultFontPointSize;
    /// Where the choice of a source begins; empty for the current directory.
    QString lastSourceDirectory = {};
    /// The interpreter that the user chose; empty for the one on the PATH.
    QString tarnExecutable = {};
    /// QWidget::saveGeometry() of the window; empty for its initial size.
    QByteArray windowGeometry = {};
    /// Of the font; for this start only, never stored.
    Zoom zoom = {};

    bool operator==(const Preferences &) const = default;

    /// "en" for exactly that, and "ar" for everything else.
    static QString normalizedLanguage(const QString &code);

    /// What is missing takes its default, an unknown language is Arabic, and sizes are clamped; a
    /// size that is not a number is the smallest.
    static Preferences load(const QSettings &settings);
    void save(QSettings *settings) const;
    /// Under which save() writes them: all of them, always.
    static QSet<QByteArray> keys();

    /// The font of the whole window at the zoom. Families that are missing are passed over, and so
    /// is a family for the characters that it lacks.
    QFont font() const;
};

} // namespace tarn::console
