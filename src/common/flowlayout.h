#pragma once

#include <QLayout>
#include <QList>

// Lays its items out left to right at their preferred sizes and wraps to a further line
// when the width runs out, so that a narrow panel or dock shows every item instead of
// growing wider or scrolling sideways. Its least width is that of its widest item.
class FlowLayout : public QLayout
{
public:
    explicit FlowLayout(QWidget *parent = nullptr);
    ~FlowLayout() override;
    Q_DISABLE_COPY_MOVE(FlowLayout)

    void addItem(QLayoutItem *item) override;
    int count() const override;
    QLayoutItem *itemAt(int index) const override;
    QLayoutItem *takeAt(int index) override;
    Qt::Orientations expandingDirections() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;
    void setGeometry(const QRect &rect) override;
    // All items on one line, but no wider than three of the widest: a long row prefers
    // to wrap rather than to widen its window.
    QSize sizeHint() const override;
    QSize minimumSize() const override;

private:
    // Places the items in `rect` when `apply`, and returns the height they take.
    int arrange(const QRect &rect, bool apply) const;

    QList<QLayoutItem *> items;
};
