#include "decode/frametablemodel.h"

#include "decode/framedecoder.h"

#include <algorithm>

FrameTableModel::FrameTableModel(QObject *parent)
    : QAbstractTableModel(parent)
{}

int FrameTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(rows.size());
}

int FrameTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QString FrameTableModel::statusText(FrameStatus status)
{
    switch (status) {
    case FrameStatus::Ok:
        return tr("OK");
    case FrameStatus::Exception:
        return tr("Exception");
    case FrameStatus::ChecksumError:
        return tr("Checksum error");
    case FrameStatus::Malformed:
        return tr("Malformed");
    case FrameStatus::Incomplete:
        return tr("Incomplete");
    case FrameStatus::Unrecognized:
        break;
    }
    return tr("Unrecognized");
}

QString FrameTableModel::peerText(const QString &peer)
{
    static const QString mapped = QStringLiteral("::ffff:");
    return peer.startsWith(mapped) ? peer.mid(mapped.size()) : peer;
}

QString FrameTableModel::cellText(const DecodedFrame &frame, int column) const
{
    switch (column) {
    case SeqColumn:
        return QString::number(frame.seq);
    case TimeColumn:
        return frame.time.toString(QStringLiteral("HH:mm:ss.zzz"));
    case DirColumn:
        return frame.direction == FrameDirection::Tx ? QStringLiteral("TX") : QStringLiteral("RX");
    case PeerColumn:
        return peerText(frame.peer);
    case LenColumn:
        return QString::number(frame.raw.size());
    case RawColumn:
        return FrameDecoder::hexText(frame.raw);
    case SummaryColumn:
        return frame.summary;
    case StatusColumn:
        return statusText(frame.status);
    default:
        return {};
    }
}

QVariant FrameTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rows.size()) {
        return {};
    }
    const DecodedFrame &frame = rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return cellText(frame, index.column());
    case Qt::ToolTipRole:
        return index.column() == RawColumn || index.column() == SummaryColumn
                   ? cellText(frame, index.column())
                   : QVariant();
    case StatusRole:
        return int(frame.status);
    case HighlightRole:
        return highlighted != 0 && frame.seq == highlighted;
    case SeqRole:
        return QVariant::fromValue(frame.seq);
    default:
        return {};
    }
}

QVariant FrameTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    switch (section) {
    case SeqColumn:
        return QStringLiteral("#");
    case TimeColumn:
        return tr("Time");
    case DirColumn:
        return tr("Dir");
    case PeerColumn:
        return tr("Peer");
    case LenColumn:
        return tr("Len");
    case RawColumn:
        return tr("Raw");
    case SummaryColumn:
        return tr("Summary");
    case StatusColumn:
        return tr("Status");
    default:
        return {};
    }
}

void FrameTableModel::append(const QList<DecodedFrame> &frames)
{
    if (frames.isEmpty()) {
        return;
    }
    // A burst larger than the table keeps only its newest frames.
    const qsizetype skip = std::max<qsizetype>(0, frames.size() - cap);
    dropped += skip;
    const int first = int(rows.size());
    beginInsertRows(QModelIndex(), first, first + int(frames.size() - skip) - 1);
    rows.append(frames.mid(skip));
    endInsertRows();
    trimTo(cap);
}

void FrameTableModel::applyPairs(const QList<PairUpdate> &updates)
{
    for (const PairUpdate &update : updates) {
        const int row = rowForSeq(update.requestSeq);
        if (row < 0) {
            continue;
        }
        DecodedFrame &frame = rows[row];
        frame.pairedSeq = update.responseSeq;
        frame.latencyMs = update.latencyMs;
        rowChanged(row);
    }
}

void FrameTableModel::clear()
{
    beginResetModel();
    rows.clear();
    dropped = 0;
    highlighted = 0;
    endResetModel();
}

void FrameTableModel::trimTo(int n)
{
    n = std::max(n, 0);
    if (rows.size() <= n) {
        return;
    }
    const int count = int(rows.size()) - n;
    beginRemoveRows(QModelIndex(), 0, count - 1);
    rows.remove(0, count);
    dropped += count;
    endRemoveRows();
}

void FrameTableModel::setCapacity(int n)
{
    cap = std::clamp(n, MinimumCapacity, MaximumCapacity);
    trimTo(cap);
}

int FrameTableModel::rowForSeq(quint64 seq) const
{
    const auto found = std::lower_bound(rows.cbegin(), rows.cend(), seq,
                                        [](const DecodedFrame &frame, quint64 value) {
                                            return frame.seq < value;
                                        });
    if (found == rows.cend() || found->seq != seq) {
        return -1;
    }
    return int(found - rows.cbegin());
}

void FrameTableModel::rowChanged(int row)
{
    if (row >= 0 && row < rows.size()) {
        emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
    }
}

void FrameTableModel::setHighlightedSeq(quint64 seq)
{
    if (seq == highlighted) {
        return;
    }
    const int before = rowForSeq(highlighted);
    highlighted = seq;
    rowChanged(before);
    rowChanged(rowForSeq(seq));
}

QString FrameTableModel::rowsText(const QList<int> &rowNumbers) const
{
    QStringList lines;
    for (const int row : rowNumbers) {
        if (row < 0 || row >= rows.size()) {
            continue;
        }
        QStringList cells;
        for (int column = 0; column < ColumnCount; ++column) {
            cells.append(cellText(rows.at(row), column));
        }
        lines.append(cells.join(u'\t'));
    }
    return lines.join(u'\n');
}
