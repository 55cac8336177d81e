#pragma once

#include "support/rebuiltview.h"
#include "transcript/transcript.h"
#include "widgets/transcriptview.h"

#include <QString>
#include <QStringList>
#include <QTextEdit>
#include <QVBoxLayout>
#include <QWidget>

namespace tarn::console {

/// A transcript view and the plain one it must look like, each over a transcript and a draft of
/// its own in a window of its own, both led through the same history.
class TwinViews
{
public:
    explicit TwinViews(QSize size);

    /// Calls f(transcript, view, draft) for both. The views differ in type, so f is generic.
    template<typename F>
    void both(F f)
    {
        f(m_real.transcript, *m_real.view, *m_real.draft);
        f(m_plain.transcript, *m_plain.view, *m_plain.draft);
    }

    void refresh();
    void setContentDirection(ContentDirection direction);
    void resize(QSize size);
    /// Sends a copy of the event to both viewports.
    void sendToViewports(const QEvent &event);
    /// A mouse event at a point of both viewports. Qt's view gets it where its answer is what was
    /// meant.
    void sendMouse(QEvent::Type type, QPoint point, Qt::MouseButton button,
                   Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers);
    void pressKey(Qt::Key key, Qt::KeyboardModifiers modifiers);

    /// Whether one of them has a vertical scroll bar which nothing but the bar's own width makes
    /// necessary, and the other one has none. Both are right, by the way on which they came there;
    /// from there on they are too different to be compared.
    bool disagreeOnScrollBarForItself();

    /// Up and Down look for the column where the cursor was when it was put there: in a smaller
    /// font, or, where Qt asked later, in the present one. From now on, the latter.
    void forgetColumn();

    /// Lets timers and posted events have their turn.
    static void drain();

    /// Whether the real view knows all heights; until then its scroll range is a guess.
    bool isSettled() const;
    /// Waits for that; false when it takes too long.
    bool settle();

    /// The first thing in which the real view differs from the plain one, as "this instead of
    /// that"; an empty text when they are the same.
    QString difference() const;
    /// The same, without the documents.
    QString differenceInState() const;
    bool samePixels();

    const Transcript &transcript() const { return m_real.transcript; }
    TranscriptView &real() { return *m_real.view; }
    RebuiltView &plain() { return *m_plain.view; }

private:
    template<typename View>
    struct Side
    {
        Transcript transcript;
        QWidget window{};
        View *view = new View(&transcript, &window);
        QTextEdit *draft = new QTextEdit(&window);
    };

    template<typename View>
    static void show(Side<View> &side, QSize size);
    template<typename View>
    static QStringList stateOf(const Side<View> &side);

    void agreeOnColumn();

    Side<TranscriptView> m_real;
    Side<RebuiltView> m_plain;
};

} // namespace tarn::console
