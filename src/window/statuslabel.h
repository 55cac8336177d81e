#pragma once

#include <QLabel>
#include <QString>

namespace tarn::console {

/// A sentence for the user, perhaps with something it names (a path, a number, an error text) in
/// place of "%1".
struct StatusMessage
{
    QString pattern;
    QString argument;

    /// The whole sentence.
    QString text() const;
    /// The same with the argument as a bidirectional isolate (UAX #9, section 2.4), so that a path
    /// in an Arabic sentence keeps its order on the screen, with its controls escaped, and with its
    /// middle left out when it is very long.
    QString isolatedText() const;
    bool isShortened() const;
};

/// Shows a status as plain text, wrapped at words. text() is the sentence; what is drawn has the
/// argument of the message isolated, until another text is set. However long that argument is, the
/// label takes some lines only; then a tool tip has it all.
class StatusLabel : public QLabel
{
public:
    explicit StatusLabel(QWidget *parent = nullptr);

    void showMessage(const StatusMessage &message);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool showsMessage() const;

    StatusMessage m_message;
};

} // namespace tarn::console
