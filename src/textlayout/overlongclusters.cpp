#include "textlayout/overlongclusters.h"

#include "textlayout/codepoints.h"

#include <QChar>
#include <QString>

namespace tarn::console {

namespace {

/// Whether a character does not stand for itself, but is a part of the one before.
bool continuesCluster(char32_t character, char32_t before)
{
    // A virama stacks the next letter on the one before, and a joiner makes one sign of two.
    constexpr int virama = 9;
    constexpr char32_t joiner = 0x200D;
    return QChar::isMark(character) || QChar::combiningClass(before) == virama
           || character == joiner || before == joiner;
}

} // namespace

QList<QTextLayout::FormatRange> overlongClusterPieces(const QString &text)
{
    QList<QTextLayout::FormatRange> pieces;
    qsizetype begin = 0;
    qsizetype continuations = 0;
    char32_t before = 0;
    for (qsizetype position = 0; position < text.size();) {
        const char32_t character = codePointAt(text, position);
        const qsizetype next = position + (QChar::requiresSurrogates(character) ? 2 : 1);
        if (!continuesCluster(character, before)) {
            begin = position;
            continuations = 0;
        } else if (++continuations == charactersInOnePiece) {
            pieces.append({.start = static_cast<int>(begin),
                           .length = static_cast<int>(next - begin),
                           .format = {}});
            begin = next;
            continuations = 0;
        }
        before = character;
        position = next;
    }
    return pieces;
}

bool hasOverlongClusters(const QString &text)
{
    return !overlongClusterPieces(text).isEmpty();
}

} // namespace tarn::console
