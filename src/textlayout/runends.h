#pragma once

#include <QList>
#include <Qt>
#include <QTextLayout>

class QString;

namespace tarn::console {

/// The ends of words that run against a text's direction, from behind their last ligature on, with
/// formats that change nothing. Where such words end, Qt takes the number of their glyphs for that
/// of their characters, and draws a caret beside their last letters on their other side. Behind
/// Arabic lam-alef and English fi, where nothing joins, they can be shaped apart.
QList<QTextLayout::FormatRange> runEndPieces(const QString &text, Qt::LayoutDirection direction);

} // namespace tarn::console
