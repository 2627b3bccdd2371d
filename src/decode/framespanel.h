#pragma once

// A port's decoded traffic, live: a table of frames (at most 5000 rows by default), the
// detail tree of the selected frame and its bytes in a hex strip. The decoder is chosen
// here (Modbus RTU, ASCII, TCP or a frame template); frames and their fields export as
// CSV. The panel shows what its DecodeRunner publishes and tells the runner the choice.

#include "decode/decoderchoice.h"
#include "decode/decodedframe.h"

#include <QWidget>

#include <functional>

class DecodeRunner;
class FrameTableModel;
class QAction;
class QComboBox;
class QLabel;
class QPlainTextEdit;
class QTableView;
class QTreeWidget;
class QTreeWidgetItem;

class FramesPanel : public QWidget
{
    Q_OBJECT
public:
    explicit FramesPanel(DecodeRunner *runner, QWidget *parent = nullptr);
    ~FramesPanel() override;

    // The names of the templates the decoder list offers, in order.
    void setTemplateNames(const QStringList &names);
    // The port's name for file names, and whether its receive view shows hex (frames
    // are found there only in hex).
    void setPortNameProbe(std::function<QString()> probe);
    void setReceiveHexProbe(std::function<bool()> probe);

    // Empties the table (the port's Clear).
    void clearFrames();
    FrameTableModel *model() const { return frameModel; }
    // The status line's text.
    QString statusText() const;

    // Frames or fields of the table as CSV (UTF-8 with a byte order mark) to `path`.
    bool writeCsv(const QString &path, bool fields, QString *error) const;
    // Asks for a file and writes; says so when there is nothing to export.
    void exportCsv(bool fields);

    // Selects a row, fills the detail tree and the strip.
    void selectRow(int row);
    // The row shown in the detail tree, -1 for none.
    int currentRow() const;

signals:
    void choiceChanged(const DecoderChoice &choice);
    void templatesEditRequested();
    void findInReceiveRequested(const QString &hexText);
    void closeRequested();
    void rowsCopied(const QString &text);

private:
    void buildUi();
    void buildTableMenu();
    void rebuildDecoderCombo();
    void onDecoderActivated(int index);
    void onFrames(const QList<DecodedFrame> &frames);
    void onGenerationChanged();
    void updateHoldBanner();
    void updateStatus();
    void showDetail(int row);
    void highlightField(QTreeWidgetItem *item);
    void goToPairedFrame();
    void findInReceive();
    void copyHex();
    void copyRows();
    QList<int> selectedRows() const;

    DecodeRunner *runner;
    FrameTableModel *frameModel;
    QStringList templateNames;
    std::function<QString()> portNameProbe;
    std::function<bool()> receiveHexProbe;
    bool decoderJustChanged = false;
    int detailRow = -1;

    QComboBox *decoderCombo = nullptr;
    QAction *autoScrollAction = nullptr;
    QLabel *statusLabel = nullptr;
    QLabel *banner = nullptr;
    QTableView *table = nullptr;
    QTreeWidget *fieldTree = nullptr;
    QPlainTextEdit *hexStrip = nullptr;
    QAction *pairedAction = nullptr;
    QAction *findAction = nullptr;
};
