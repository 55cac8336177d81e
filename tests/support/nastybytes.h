#pragma once

#include <QByteArray>
#include <QList>
#include <QRandomGenerator>

namespace tarn::console {

/// A reproducible source of program output of the unpleasant kind.
class NastyBytes
{
public:
    explicit NastyBytes(quint32 seed);

    /// 0 to bound - 1.
    int below(int bound);
    int between(int lowest, int highest);
    bool chance(int percent);
    /// Output in one of several tempers: prose, Arabic, tiny lines, escapes, broken text, noise.
    QByteArray chunk(int size);
    /// The bytes cut at random places, empty pieces included.
    QList<QByteArray> cut(const QByteArray &bytes);

private:
    QByteArray token(int temper);
    QByteArray prose();
    QByteArray brokenText();

    QRandomGenerator m_random;
};

} // namespace tarn::console
