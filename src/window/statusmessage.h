#pragma once

#include <QString>

namespace tarn::console {

/// A sentence for the user, perhaps with something it names (a path, a number, an error text) in
/// place of "%1".
struct StatusMessage
{
    QString pattern;
    QString argument = {};
    /// The pattern with isolates around what is in another language; empty where it needs none.
    QString shownPattern = {};

    bool operator==(const StatusMessage &) const = default;

    bool isEmpty() const { return pattern.isEmpty(); }
    /// The whole sentence.
    QString text() const;
    /// The same with the argument as a bidirectional isolate (UAX #9, section 2.4), so that a path
    /// in an Arabic sentence keeps its order on the screen, and its folders theirs; with its
    /// controls escaped, and with its middle left out when it has more than so many characters.
    QString isolatedText(qsizetype mostCharacters = usualCharacters) const;
    bool isShortened(qsizetype mostCharacters = usualCharacters) const;

    /// So much of the argument is shown; as fits into three lines of a window of the usual size.
    static constexpr qsizetype usualCharacters = 200;
};

} // namespace tarn::console
