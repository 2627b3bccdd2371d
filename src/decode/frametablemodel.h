#pragma once

// The frames table of a port: decoded frames in the order of their numbers, at most
// `capacity` rows; the oldest go first and are counted. Requests learn their pairing
// later, when the response comes, and their row is updated in place.

#include "decode/decodedframe.h"

#include <QAbstractTableModel>

class FrameTableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column {
        SeqColumn = 0,
        TimeColumn,
        DirColumn,
        PeerColumn,
        LenColumn,
        RawColumn,
        SummaryColumn,
        StatusColumn,
        ColumnCount,
    };

    // Roles beside the display texts, for a view that colours rows.
    enum Role {
        StatusRole = Qt::UserRole + 1, // int of FrameStatus
        HighlightRole,                 // bool: the highlighted frame
        SeqRole,                       // quint64
    };

    static constexpr int DefaultCapacity = 5000;
    static constexpr int MinimumCapacity = 100;
    static constexpr int MaximumCapacity = 100000;

    explicit FrameTableModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    // Adds rows at the end (frames come in rising numbers), then trims to capacity.
    void append(const QList<DecodedFrame> &frames);
    // Writes the pairing into each request still held; others are dropped quietly.
    void applyPairs(const QList<PairUpdate> &updates);
    void clear();
    // Removes rows from the top until `n` are left, counting them as dropped.
    void trimTo(int n);
    // Clamped to MinimumCapacity .. MaximumCapacity; trims at once.
    void setCapacity(int n);
    int capacity() const { return cap; }
    qint64 droppedRows() const { return dropped; }

    const DecodedFrame &frameAt(int row) const { return rows.at(row); }
    const QList<DecodedFrame> &frames() const { return rows; }
    // The row of frame `seq`, -1 when it is not (or no longer) held.
    int rowForSeq(quint64 seq) const;
    void rowChanged(int row);
    void setHighlightedSeq(quint64 seq);
    quint64 highlightedSeq() const { return highlighted; }

    // The rows as text, one a line, cells separated by tabs.
    QString rowsText(const QList<int> &rowNumbers) const;
    // A peer without the "::ffff:" of an IPv4 address seen through IPv6.
    static QString peerText(const QString &peer);
    static QString statusText(FrameStatus status);

private:
    QString cellText(const DecodedFrame &frame, int column) const;

    QList<DecodedFrame> rows;
    int cap = DefaultCapacity;
    qint64 dropped = 0;
    quint64 highlighted = 0;
};
