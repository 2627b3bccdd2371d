#include "common/flowlayout.h"

#include <QWidget>

#include <algorithm>

FlowLayout::FlowLayout(QWidget *parent)
    : QLayout(parent)
{
}

FlowLayout::~FlowLayout()
{
    while (QLayoutItem *item = takeAt(0)) {
        delete item;
    }
}

void FlowLayout::addItem(QLayoutItem *item)
{
    items.append(item);
}

int FlowLayout::count() const
{
    return int(items.size());
}

QLayoutItem *FlowLayout::itemAt(int index) const
{
    return items.value(index);
}

QLayoutItem *FlowLayout::takeAt(int index)
{
    return index >= 0 && index < items.size() ? items.takeAt(index) : nullptr;
}

Qt::Orientations FlowLayout::expandingDirections() const
{
    return {};
}

bool FlowLayout::hasHeightForWidth() const
{
    return true;
}

int FlowLayout::heightForWidth(int width) const
{
    return arrange(QRect(0, 0, width, 0), false);
}

void FlowLayout::setGeometry(const QRect &rect)
{
    QLayout::setGeometry(rect);
    arrange(rect, true);
}

QSize FlowLayout::sizeHint() const
{
    int width = 0;
    int widest = 0;
    for (const QLayoutItem *item : items) {
        if (!item->isEmpty()) {
            width += (width > 0 ? spacing() : 0) + item->sizeHint().width();
            widest = std::max(widest, item->sizeHint().width());
        }
    }
    width = std::min(width, 3 * widest + 2 * spacing());
    const QMargins m = contentsMargins();
    return {width + m.left() + m.right(), heightForWidth(width + m.left() + m.right())};
}

QSize FlowLayout::minimumSize() const
{
    QSize size(0, 0);
    for (const QLayoutItem *item : items) {
        if (!item->isEmpty()) {
            size = size.expandedTo(item->minimumSize());
        }
    }
    const QMargins m = contentsMargins();
    return size + QSize(m.left() + m.right(), m.top() + m.bottom());
}

int FlowLayout::arrange(const QRect &rect, bool apply) const
{
    const QMargins m = contentsMargins();
    const QRect area = rect.marginsRemoved(m);
    int x = area.x();
    int y = area.y();
    int lineHeight = 0;
    for (QLayoutItem *item : items) {
        if (item->isEmpty()) {
            continue;
        }
        // An item wider than the line gets the line to itself, cut to its width.
        const QSize size(std::min(item->sizeHint().width(), std::max(area.width(), 1)),
                         item->sizeHint().height());
        if (x > area.x() && x + size.width() > area.x() + area.width()) {
            x = area.x();
            y += lineHeight + spacing();
            lineHeight = 0;
        }
        if (apply) {
            item->setGeometry(QRect(QPoint(x, y), size));
        }
        x += size.width() + spacing();
        lineHeight = std::max(lineHeight, size.height());
    }
    return y + lineHeight - rect.y() + m.bottom();
}
