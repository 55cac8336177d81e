#pragma once

#include <QByteArrayView>
#include <QList>
#include <QString>

namespace tarn::console {

/// No control character but TAB, no bidirectional formatting character, and valid UTF-16.
bool isSafeToShow(const QString &text);

/// Decodes the pieces, and their bytes at once, beside the plain decoder. Empty, or what the
/// decoder does wrong.
QString decoderProblem(const QList<QByteArrayView> &pieces);

} // namespace tarn::console
