#include "window/pathmarks.h"

#include <QList>

#include <algorithm>

namespace tarn::console {

namespace {

bool isRightToLeft(QChar::Direction direction)
{
    return direction == QChar::DirR || direction == QChar::DirAL;
}

} // namespace

bool hasRightToLeftLetters(QStringView text)
{
    const QList<uint> characters = text.toUcs4();
    return std::any_of(characters.begin(), characters.end(),
                       [](uint character) { return isRightToLeft(QChar::direction(character)); });
}

QString withPathMarks(const QString &text)
{
    constexpr char32_t leftToRightMark = 0x200E;
    if (!text.contains(u'/') || !hasRightToLeftLetters(text))
        return text;
    QString marked;
    bool afterRightToLeft = false;
    const QList<uint> characters = text.toUcs4();
    for (const char32_t character : characters) {
        marked += QStringView(QChar::fromUcs4(character));
        const QChar::Direction direction = QChar::direction(character);
        if (isRightToLeft(direction)) {
            afterRightToLeft = true;
        } else if (direction == QChar::DirL) {
            afterRightToLeft = false;
        } else if (character == U'/' && afterRightToLeft) {
            marked += QStringView(QChar::fromUcs4(leftToRightMark));
            afterRightToLeft = false;
        }
    }
    return marked;
}

} // namespace tarn::console
