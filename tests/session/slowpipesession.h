#pragma once

#include "session/programsession.h"

#include <QByteArray>
#include <QProcess>

#include <functional>

namespace tarn::console {

/// A session whose pipe to the program holds only so many bytes as the test says, and takes more
/// when they have left for the program.
class SlowPipeSession : public ProgramSession
{
public:
    using ProgramSession::ProgramSession;

    /// How many bytes are taken at a time; 0 for none at all.
    void takeAtMost(qint64 bytes) { m_bytesAtATime = bytes; }
    /// What a refusal looks like: 0 or -1.
    void refuseWith(qint64 answer) { m_refusal = answer; }
    /// Claims to have taken more than was offered.
    void exaggerate() { m_exaggeration = 100; }
    /// What happens in the course of a write, which claims to have taken everything.
    void whileWriting(const std::function<void(QProcess &)> &happening) { m_happening = happening; }

    /// How often bytes were offered to the pipe.
    int offers() const { return m_offers; }

protected:
    qint64 writeInputBytes(QProcess &process, const QByteArray &bytes) override
    {
        ++m_offers;
        if (m_happening) {
            m_happening(process);
            return bytes.size();
        }
        if (m_bytesAtATime == 0 || process.bytesToWrite() > 0)
            return m_refusal;
        return process.write(bytes.left(m_bytesAtATime)) + m_exaggeration;
    }

private:
    qint64 m_bytesAtATime = 1;
    qint64 m_refusal = 0;
    qint64 m_exaggeration = 0;
    std::function<void(QProcess &)> m_happening;
    int m_offers = 0;
};

} // namespace tarn::console
