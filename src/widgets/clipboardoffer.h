#pragma once

#include <QAbstractNativeEventFilter>
#include <QElapsedTimer>
#include <QList>
#include <QObject>

#include <optional>

struct xcb_connection_t;

namespace tarn::console {

/// What the clipboard offers, without ever waiting for the application that owns it. On X11 only
/// the owner knows, and it may not answer: it is asked once, whenever the clipboard changes, and
/// what it answers is remembered. Elsewhere, and of our own clipboard, Qt knows.
class ClipboardOffer : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit ClipboardOffer(QObject *parent = nullptr);
    ~ClipboardOffer() override;

    /// Whether there is text to paste. An owner that has not answered yet counts as one with text.
    bool hasText() const;
    /// The owner has been asked for a while and has not answered: a paste would wait for it.
    bool isSilent() const;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    /// The clipboard has another content, of which hasText() tells what is known already.
    void changed();
    /// The owner has said what there is.
    void answered();

private:
    void forgetAndAsk();
    void ask();
    void read(quint32 window, quint32 property);
    bool offersText(const quint32 *formats, int count) const;

    xcb_connection_t *m_connection = nullptr; ///< null where there is nothing to ask
    QList<quint32> m_textFormats = {};        ///< atoms; the first is the question for all formats
    QList<quint32> m_questions = {}; ///< windows that wait for an answer, the last is current
    QElapsedTimer m_asked = {};
    std::optional<bool> m_answer = {};
};

} // namespace tarn::console
