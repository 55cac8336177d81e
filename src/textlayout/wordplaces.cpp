#include "textlayout/wordplaces.h"

#include <QChar>
#include <QVarLengthArray>

#include <array>

namespace tarn::console {

/// A common letter has no script of its own.
enum class WordPlaces::Kind : quint8 {
    Unknown,
    Letter,
    CommonLetter,
    Digit,
    LeftDigit,
    Sign,
    Bracket,
    VowelSign
};

namespace {

using Kind = WordPlaces::Kind;

bool isBracket(char16_t code)
{
    return code == u'(' || code == u')' || code == u'[' || code == u']' || code == u'{'
           || code == u'}';
}

char16_t openingOf(char16_t closing)
{
    return closing == u')' ? u'(' : closing == u']' ? u'[' : u'{';
}

QChar::Direction directionOf(std::size_t script)
{
    return QChar(simpleScripts[script].letter).direction();
}

Kind findKind(QChar character)
{
    const std::size_t script = findScript(character);
    const bool isSimple = script != commonScript || character.script() == QChar::Script_Common
                          || character.script() == QChar::Script_Inherited;
    if (!isSimple || character.isSpace())
        return Kind::Unknown;
    switch (character.direction()) {
    case QChar::DirL:
    case QChar::DirR:
    case QChar::DirAL:
        if (script == commonScript)
            return Kind::CommonLetter;
        return character.direction() == directionOf(script) ? Kind::Letter : Kind::Unknown;
    case QChar::DirEN:
        return Kind::Digit;
    case QChar::DirAN:
        return Kind::LeftDigit;
    case QChar::DirES:
    case QChar::DirET:
    case QChar::DirCS:
    case QChar::DirON:
        return isBracket(character.unicode()) ? Kind::Bracket : Kind::Sign;
    case QChar::DirNSM:
        return Kind::VowelSign;
    default:
        return Kind::Unknown;
    }
}

using KindTable = std::array<Kind, simpleScriptsEnd>;

const KindTable &kindTable()
{
    static const KindTable table = [] {
        KindTable kinds;
        for (char16_t code = 0; code < simpleScriptsEnd; ++code)
            kinds[code] = findKind(QChar(code));
        return kinds;
    }();
    return table;
}

Kind kindOf(QChar character)
{
    const char16_t code = character.unicode();
    return code < simpleScriptsEnd ? kindTable()[code] : Kind::Unknown;
}

/// Whether each bracket is closed in a word, in the right order.
bool closesItsBrackets(QStringView word)
{
    QVarLengthArray<char16_t, 8> open;
    for (const QChar character : word) {
        const char16_t code = character.unicode();
        if (!isBracket(code))
            continue;
        if (code == u'(' || code == u'[' || code == u'{')
            open.append(code);
        else if (!open.isEmpty() && open.last() == openingOf(code))
            open.removeLast();
        else
            return false;
    }
    return open.isEmpty();
}

} // namespace

bool WordPlaces::find(QStringView text, bool paragraphRunsLeft)
{
    m_words.clear();
    m_withNext = 0;
    m_paragraphRunsLeft = paragraphRunsLeft;
    m_directions = {};
    m_firstScript = commonScript;
    m_script = commonScript;
    m_isOnePiece = !paragraphRunsLeft;
    m_bracketsReachOut = false;
    for (qsizetype start = 0, end = 0; end < text.size();) {
        for (start = end; start < text.size() && text[start] == u' ';)
            ++start;
        for (end = start; end < text.size() && text[end] != u' ';)
            ++end;
        if (start < end && !addWord(text, start, end))
            return false;
    }
    finish();
    return areBracketsKnown();
}

/// How the last letter or digit runs; the paragraph, before any.
bool WordPlaces::lastRunsLeft() const
{
    return m_script == commonScript ? m_paragraphRunsLeft : m_scriptRunsLeft;
}

bool WordPlaces::addWord(QStringView text, qsizetype start, qsizetype end)
{
    const bool runsLeftBefore = lastRunsLeft();
    m_words.push_back({.start = start,
                       .end = end,
                       .surroundings = {.script = m_script,
                                        .isAfterLetters = m_script != commonScript,
                                        .paragraphRunsLeft = m_paragraphRunsLeft}});
    Directions inWord;
    bool followsLetter = false;
    bool hasBrackets = false;
    for (const QChar character : text.sliced(start, end - start)) {
        const Kind kind = kindOf(character);
        if (kind == Kind::VowelSign && !followsLetter)
            return false;
        if (!addCharacter(character, kind, &inWord))
            return false;
        followsLetter = kind == Kind::Letter || kind == Kind::VowelSign;
        hasBrackets = hasBrackets || kind == Kind::Bracket;
    }
    if (hasBrackets)
        addBrackets(text.sliced(start, end - start), inWord, runsLeftBefore);
    return true;
}

bool WordPlaces::addCharacter(QChar character, Kind kind, Directions *inWord)
{
    const std::size_t script = scriptOf(simpleScriptTable(), character, m_script);
    if (kind == Kind::Letter) {
        addLetter(script, inWord);
        return true;
    }
    if (script != m_script) // some digits and signs have one of their own
        return false;
    switch (kind) {
    case Kind::CommonLetter:
        addDirection(lastRunsLeft(), inWord);
        return script != commonScript && character.direction() == directionOf(script);
    case Kind::Digit:
        addDirection(lastRunsLeft(), inWord);
        return true;
    case Kind::LeftDigit:
        addDirection(true, inWord);
        // Others that follow run as the last letter, and not as these.
        return lastRunsLeft();
    case Kind::Sign:
    case Kind::Bracket:
    case Kind::VowelSign:
        return true;
    default:
        return false;
    }
}

void WordPlaces::addLetter(std::size_t script, Directions *inWord)
{
    if (script != m_script) {
        if (m_firstScript == commonScript)
            m_firstScript = script;
        m_isOnePiece = m_isOnePiece && script == m_firstScript && !console::runsLeft(script);
        m_script = script;
        m_scriptRunsLeft = console::runsLeft(script);
    }
    addDirection(m_scriptRunsLeft, inWord);
}

void WordPlaces::addDirection(bool left, Directions *inWord)
{
    if (!inWord->right && !inWord->left) {
        for (; m_withNext + 1 < m_words.size(); ++m_withNext)
            m_words[m_withNext].surroundings.nextRunsLeft = left;
    }
    (left ? inWord->left : inWord->right) = true;
    (left ? m_directions.left : m_directions.right) = true;
}

/// Brackets run as the paragraph does if anything between them does, or else as what is between
/// them, if that is how what is before them runs (UAX #9, rule N0). Then it makes no difference to
/// other words that they are not just signs.
void WordPlaces::addBrackets(QStringView word, const Directions &inWord, bool runsLeftBefore)
{
    const bool againstParagraph = m_paragraphRunsLeft ? inWord.right : inWord.left;
    m_bracketsReachOut = m_bracketsReachOut || !closesItsBrackets(word) || inWord.areBoth()
                         || (againstParagraph && runsLeftBefore == m_paragraphRunsLeft);
}

/// Where all of a text runs as the paragraph does, so do all brackets.
bool WordPlaces::areBracketsKnown() const
{
    const bool againstParagraph = m_paragraphRunsLeft ? m_directions.right : m_directions.left;
    return !m_bracketsReachOut || !againstParagraph;
}

void WordPlaces::finish()
{
    for (; m_withNext < m_words.size(); ++m_withNext)
        m_words[m_withNext].surroundings.nextRunsLeft = m_paragraphRunsLeft;
    for (Word &word : m_words) {
        if (word.surroundings.isAfterLetters)
            break;
        word.surroundings.script = m_firstScript;
    }
}

} // namespace tarn::console
