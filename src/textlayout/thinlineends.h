#pragma once

#include <QList>
#include <QTextLayout>
#include <QtGlobal>

#include <functional>

class QString;

namespace tarn::console {

/// The blanks that end lines of a text, as formats that take their width away, where the last words
/// of the line run against the text's direction and those of the next line go on so. Qt gives such
/// a blank room among the words when it is asked for a caret or a position, and none where it
/// draws.
QList<QTextLayout::FormatRange> thinLineEnds(const QTextLayout &layout, const QString &text);

/// Breaks a layout into the lines that it has, at the places that they have, with a function that
/// sets its formats, among them those of line ends. Returns false where that failed: then the
/// layout has not all of its lines.
bool breakWithThinEnds(QTextLayout *layout, qreal lineWidth,
                       const QList<QTextLayout::FormatRange> &ends,
                       const std::function<void()> &setFormats);

} // namespace tarn::console
