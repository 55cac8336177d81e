#pragma once

#include <QLabel>

namespace tarn::console {

/// Shows a path as selectable plain text, always left to right. A path that is too long for the
/// label never widens it: its beginning is cut off, so that the file name stays in sight, and the
/// tool tip has it all.
class PathLabel : public QLabel
{
public:
    explicit PathLabel(QWidget *parent = nullptr);

    /// Shows a path, or a remark in place of one, which needs no tool tip.
    void showPath(const QString &path);
    void showRemark(const QString &remark);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void alignText();
};

} // namespace tarn::console
