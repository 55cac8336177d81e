#pragma once

#include "window/statusmessage.h"

#include <QLabel>

namespace tarn::console {

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
