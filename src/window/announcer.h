#pragma once

#include "window/narration.h"
#include "window/voice.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class QWidget;
class QWindow;

namespace tarn::console {

struct StatusMessage;
class Transcript;

/// Tells assistive technology what happens in the window: what programs write, and every status.
/// What is worth telling is the narration's to decide. While the person works in another program
/// nothing is said; when they come back, what they missed. Costs nothing while nobody listens.
class Announcer : public QObject
{
public:
    /// The transcript must outlive the announcer, which belongs to the window.
    Announcer(const Transcript *transcript, QWidget *window);

    /// To be called after every change to the transcript.
    void followTranscript();
    /// How the run goes; every other status.
    void tellRunStatus(const StatusMessage &status);
    void tellStatus(const StatusMessage &status);
    /// The run writes nothing more: what it wrote is told before its outcome.
    void endOutput();

private:
    void tell(const StatusMessage &status, Narration::Status kind);
    /// The window is that of ours which has the keyboard.
    void followPerson(const QWindow *window);
    Narration::Time now() const;
    void schedule();
    void speak();

    const Transcript *m_transcript;
    qsizetype m_knownRecords = 0;
    Narration m_narration;
    Voice m_voice;
    QElapsedTimer m_clock;
    QTimer m_timer;
};

} // namespace tarn::console
