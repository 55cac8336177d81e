#include "support/nastybytes.h"

namespace tarn::console {

namespace {

enum Temper { Prose, Words, Arabic, ShortLines, Controls, Broken, Noise, Mixed, TemperCount };

const char *const arabicTokens[] = {"\xD9\x85", "\xD8\xB1\xD8\xAD\xD8\xA8\xD8\xA7",
                                    " ",        "\xD8\x9F",
                                    "\xD9\xA3", "\n",
                                    "\xD8\xA7", "1 ",
                                    "abc"};

/// Characters of each length between runs that are shorter and longer than what is decoded at once.
const char *const wordTokens[] = {"\xE4\xB8\xAD\xE6\x96\x87",
                                  "\xE2\x82\xAC",
                                  "\xE0\xA0\x80",
                                  "\xED\x9F\xBF",
                                  "\xEF\xBF\xBD",
                                  "\xF0\x9F\x98\x80",
                                  "\xC2\xA0",
                                  "\xC3\xA9t\xC3\xA9",
                                  "\xD9\x85\xD8\xB1\xD8\xAD\xD8\xA8\xD8\xA7 ",
                                  "seven77",
                                  "eight888",
                                  "fifteen15151515",
                                  "sixteen161616161",
                                  "seventeen17171717",
                                  "a line that is longer than two blocks of sixteen bytes\n"};

const char *const lineTokens[] = {"\n",           "\r\n",         "\r", "\n\n",     "a",
                                  "bc",           "\xC3\xA9",     "\t", "\xC2\x85", "\r\r\n",
                                  "\xE2\x80\xA8", "\xE2\x80\xA9", "xyz"};

const char *const controlTokens[] = {"\x1B[31m",
                                     "\x1B",
                                     "\x07",
                                     "\x7F",
                                     "\xC2\x85",
                                     "\xC2\x80",
                                     "\xC2\xA0",
                                     "\xD8\x9C",
                                     "\xE2\x80\x8E",
                                     "\xE2\x80\x8F",
                                     "\xE2\x80\xAE",
                                     "\xE2\x81\xA6",
                                     "\xE2\x81\xA9",
                                     "\xE2\x80\x8B",
                                     "\xEF\xBB\xBF",
                                     "\t",
                                     "\xEF\xB7\x90",
                                     "\xEF\xBF\xBE",
                                     "\xF0\x9F\x98\x80",
                                     "\r"};

const char *const brokenTokens[] = {"\xC3",
                                    "\xA9",
                                    "\xE2",
                                    "\xE2\x82",
                                    "\xF0",
                                    "\xF0\x9F",
                                    "\xF0\x9F\x98",
                                    "\xED\xA0\x80",
                                    "\xC0\x80",
                                    "\xF4\x90\x80\x80",
                                    "\xE0\x80\xAF",
                                    "\xFF",
                                    "\xF0\x9F\x98\r",
                                    "\x80",
                                    "\xF5",
                                    "\xC1",
                                    "\xF0\x8F\xBF\xBF",
                                    "\xF4\x8F",
                                    "\xED\x9F\xBF"};

template<size_t Count>
QByteArray pick(const char *const (&tokens)[Count], QRandomGenerator &random)
{
    return QByteArray(tokens[random.bounded(int(Count))]);
}

} // namespace

NastyBytes::NastyBytes(quint32 seed)
    : m_random(seed)
{
}

int NastyBytes::below(int bound)
{
    return m_random.bounded(bound);
}

int NastyBytes::between(int lowest, int highest)
{
    return m_random.bounded(lowest, highest + 1);
}

bool NastyBytes::chance(int percent)
{
    return below(100) < percent;
}

QByteArray NastyBytes::chunk(int size)
{
    const int temper = below(TemperCount);
    QByteArray bytes;
    while (bytes.size() < size)
        bytes += token(temper == Mixed ? below(Mixed) : temper);
    // A cut through the last token leaves half a character now and then.
    return bytes.first(size);
}

QList<QByteArray> NastyBytes::cut(const QByteArray &bytes)
{
    QList<QByteArray> pieces;
    qsizetype from = 0;
    while (from < bytes.size()) {
        const qsizetype length = qMin<qsizetype>(below(chance(30) ? 40 : 6), bytes.size() - from);
        pieces.append(bytes.sliced(from, length));
        from += length;
    }
    return pieces;
}

QByteArray NastyBytes::token(int temper)
{
    switch (temper) {
    case Words:
        return chance(5) ? pick(controlTokens, m_random) : pick(wordTokens, m_random);
    case Arabic:
        return pick(arabicTokens, m_random);
    case ShortLines:
        return pick(lineTokens, m_random);
    case Controls:
        return chance(20) ? QByteArray(between(1, 12), '\0') : pick(controlTokens, m_random);
    case Broken:
        return brokenText();
    case Noise:
        return QByteArray(1, char(below(256)));
    default:
        return prose();
    }
}

QByteArray NastyBytes::prose()
{
    if (chance(10))
        return QByteArray(chance(20) ? "\r\n" : "\n");
    QByteArray word;
    for (int i = between(1, 9); i > 0; --i)
        word += char('a' + below(26));
    return word + ' ';
}

QByteArray NastyBytes::brokenText()
{
    if (chance(60))
        return pick(brokenTokens, m_random);
    return chance(50) ? pick(lineTokens, m_random) : pick(controlTokens, m_random);
}

} // namespace tarn::console
