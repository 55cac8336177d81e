#pragma once

#include "window/statusmessage.h"

#include <QLabel>

class QTextLayout;

namespace tarn::console {

/// Shows a status as plain text. text() is the sentence; what is drawn has the argument of the
/// message isolated, until another text is set. Without a text the label is as high as with one
/// line. A text that is too long is wrapped at words as far as there are lines for it, and loses
/// its middle beyond that; then a tool tip has it all.
class StatusLabel : public QLabel
{
public:
    explicit StatusLabel(QWidget *parent = nullptr);

    void showMessage(const StatusMessage &message);
    /// What is true besides the text, for the tool tip and for assistive technology; empty for
    /// nothing.
    void setRemark(const QString &remark);

    /// How many lines the label may take.
    void setMaximumLines(int lines);
    /// How many it would take in a width, if it might.
    int linesForWidth(int width) const;
    int lineHeight() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool showsMessage() const;
    QString shownText(qsizetype mostCharacters) const;
    qsizetype longestText() const;
    qsizetype fittingCharacters(int width) const;
    int layOut(QTextLayout &layout, int width) const;

    StatusMessage m_message;
    int m_maximumLines = 3;
};

} // namespace tarn::console
