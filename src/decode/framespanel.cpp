#include "decode/framespanel.h"

#include "decode/decoderunner.h"
#include "decode/framebytes.h"
#include "decode/framecsv.h"
#include "decode/framedecoder.h"
#include "decode/frametablemodel.h"
#include "recording/exportdialogs.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QIdentityProxyModel>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QSaveFile>
#include <QSplitter>
#include <QTableView>
#include <QTextBlock>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

constexpr int FieldOffsetRole = Qt::UserRole + 1;
constexpr int FieldLengthRole = Qt::UserRole + 2;

// Colours of the table: frames that did not decode cleanly, and the frame a jump landed on.
class FrameColors : public QIdentityProxyModel
{
public:
    using QIdentityProxyModel::QIdentityProxyModel;

    QVariant data(const QModelIndex &index, int role) const override
    {
        if (role == Qt::ForegroundRole) {
            const auto status =
                FrameStatus(QIdentityProxyModel::data(index, FrameTableModel::StatusRole).toInt());
            switch (status) {
            case FrameStatus::Ok:
                break;
            case FrameStatus::Exception:
                return QColor(0xB3, 0x6B, 0x00);
            default:
                return QColor(0xC6, 0x28, 0x28);
            }
        } else if (role == Qt::BackgroundRole &&
                   QIdentityProxyModel::data(index, FrameTableModel::HighlightRole).toBool()) {
            return QColor(0xFF, 0xF2, 0xA8);
        }
        return QIdentityProxyModel::data(index, role);
    }
};

} // namespace

FramesPanel::FramesPanel(DecodeRunner *runner, QWidget *parent)
    : QWidget(parent)
    , runner(runner)
    , frameModel(new FrameTableModel(this))
{
    setObjectName(QStringLiteral("framesPanel"));
    buildUi();
    buildTableMenu();
    rebuildDecoderCombo();

    connect(runner, &DecodeRunner::framesDecoded, this, &FramesPanel::onFrames);
    connect(runner, &DecodeRunner::framesPaired, this, [this](const QList<PairUpdate> &updates) {
        frameModel->applyPairs(updates);
        if (detailRow >= 0) {
            showDetail(detailRow);
        }
    });
    connect(runner, &DecodeRunner::generationChanged, this, &FramesPanel::onGenerationChanged);
    connect(runner, &DecodeRunner::holdChanged, this, [this] {
        updateHoldBanner();
        updateStatus();
    });
    connect(runner, &DecodeRunner::choiceChanged, this, [this](const DecoderChoice &choice) {
        rebuildDecoderCombo();
        emit choiceChanged(choice);
    });
    connect(frameModel, &QAbstractItemModel::rowsRemoved, this, [this](const QModelIndex &, int,
                                                                       int last) {
        // Trimmed rows move the shown one up, or take it away.
        if (detailRow >= 0) {
            detailRow = detailRow > last ? detailRow - (last + 1) : -1;
            if (detailRow < 0) {
                fieldTree->clear();
                hexStrip->clear();
            }
        }
    });
    updateHoldBanner();
    updateStatus();
}

FramesPanel::~FramesPanel() = default;

void FramesPanel::buildUi()
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);

    auto *bar = new QToolBar(this);
    bar->setObjectName(QStringLiteral("framesToolBar"));
    bar->setIconSize(QSize(16, 16));
    bar->addWidget(new QLabel(tr("Decoder:"), bar));
    decoderCombo = new QComboBox(bar);
    decoderCombo->setObjectName(QStringLiteral("framesDecoderCombo"));
    decoderCombo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    connect(decoderCombo, &QComboBox::activated, this, &FramesPanel::onDecoderActivated);
    bar->addWidget(decoderCombo);

    QAction *templates = bar->addAction(tr("Templates..."));
    templates->setObjectName(QStringLiteral("framesTemplatesAction"));
    templates->setToolTip(tr("Describe your own protocol's frames and fields"));
    connect(templates, &QAction::triggered, this, &FramesPanel::templatesEditRequested);
    QAction *clear = bar->addAction(tr("Clear"));
    clear->setObjectName(QStringLiteral("framesClearAction"));
    clear->setToolTip(tr("Empty the frame table"));
    connect(clear, &QAction::triggered, this, &FramesPanel::clearFrames);

    auto *exportMenu = new QMenu(this);
    QAction *exportFrames = exportMenu->addAction(tr("Export Frames (CSV)..."));
    exportFrames->setObjectName(QStringLiteral("framesExportFramesAction"));
    connect(exportFrames, &QAction::triggered, this, [this] { exportCsv(false); });
    QAction *exportFields = exportMenu->addAction(tr("Export Fields (CSV)..."));
    exportFields->setObjectName(QStringLiteral("framesExportFieldsAction"));
    connect(exportFields, &QAction::triggered, this, [this] { exportCsv(true); });
    auto *exportButton = new QToolButton(bar);
    exportButton->setText(tr("Export"));
    exportButton->setMenu(exportMenu);
    exportButton->setPopupMode(QToolButton::InstantPopup);
    bar->addWidget(exportButton);

    autoScrollAction = bar->addAction(tr("Auto-scroll"));
    autoScrollAction->setObjectName(QStringLiteral("framesAutoScrollAction"));
    autoScrollAction->setCheckable(true);
    autoScrollAction->setChecked(true);

    auto *spacer = new QWidget(bar);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    bar->addWidget(spacer);
    statusLabel = new QLabel(bar);
    statusLabel->setObjectName(QStringLiteral("framesStatus"));
    bar->addWidget(statusLabel);
    QAction *close = bar->addAction(QStringLiteral("\u00D7"));
    close->setObjectName(QStringLiteral("framesCloseAction"));
    close->setToolTip(tr("Close"));
    connect(close, &QAction::triggered, this, &FramesPanel::closeRequested);
    layout->addWidget(bar);

    banner = new QLabel(this);
    banner->setObjectName(QStringLiteral("framesBanner"));
    banner->setWordWrap(true);
    banner->setStyleSheet(QStringLiteral(
        "QLabel { background: #fff4e5; color: #5f3b00; border: 1px solid #f0c36d; padding: 4px; }"));
    banner->hide();
    layout->addWidget(banner);

    auto *split = new QSplitter(Qt::Vertical, this);
    table = new QTableView(split);
    table->setObjectName(QStringLiteral("framesTable"));
    auto *colors = new FrameColors(this);
    colors->setSourceModel(frameModel);
    table->setModel(colors);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table->setWordWrap(false);
    table->verticalHeader()->hide();
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 4);
    // Widths from the font, not from the rows: measuring 5000 rows at every arrival
    // would cost more than the decoding.
    const QFontMetrics metrics = table->fontMetrics();
    const auto width = [&metrics](const QString &sample) {
        return metrics.horizontalAdvance(sample) + 16;
    };
    table->horizontalHeader()->setStretchLastSection(false);
    table->setColumnWidth(FrameTableModel::SeqColumn, width(QStringLiteral("0000000")));
    table->setColumnWidth(FrameTableModel::TimeColumn, width(QStringLiteral("00:00:00.000")));
    table->setColumnWidth(FrameTableModel::DirColumn, width(QStringLiteral("Dir")));
    table->setColumnWidth(FrameTableModel::PeerColumn, width(QStringLiteral("000.000.000.000:00000")));
    table->setColumnWidth(FrameTableModel::LenColumn, width(QStringLiteral("Len0")));
    table->setColumnWidth(FrameTableModel::RawColumn, width(QStringLiteral("00 ").repeated(12)));
    table->setColumnWidth(FrameTableModel::StatusColumn, width(tr("Checksum error")));
    table->horizontalHeader()->setSectionResizeMode(FrameTableModel::SummaryColumn,
                                                     QHeaderView::Stretch);
    table->setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(table->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex &current) { showDetail(current.isValid() ? current.row() : -1); });

    auto *detail = new QSplitter(Qt::Horizontal, split);
    fieldTree = new QTreeWidget(detail);
    fieldTree->setObjectName(QStringLiteral("framesFieldTree"));
    fieldTree->setHeaderLabels({tr("Field"), tr("Value"), tr("Raw"), tr("Offset")});
    fieldTree->setRootIsDecorated(true);
    connect(fieldTree, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem *item) { highlightField(item); });
    hexStrip = new QPlainTextEdit(detail);
    hexStrip->setObjectName(QStringLiteral("framesHexStrip"));
    hexStrip->setReadOnly(true);
    hexStrip->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    detail->setStretchFactor(0, 3);
    detail->setStretchFactor(1, 2);
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 2);
    layout->addWidget(split, 1);
}

void FramesPanel::buildTableMenu()
{
    pairedAction = new QAction(tr("Go to Paired Frame"), table);
    connect(pairedAction, &QAction::triggered, this, &FramesPanel::goToPairedFrame);
    findAction = new QAction(tr("Find Bytes in Receive View"), table);
    connect(findAction, &QAction::triggered, this, &FramesPanel::findInReceive);
    auto *copyHexAction = new QAction(tr("Copy Hex"), table);
    connect(copyHexAction, &QAction::triggered, this, &FramesPanel::copyHex);
    auto *copyRowsAction = new QAction(tr("Copy Selected Rows"), table);
    copyRowsAction->setShortcut(QKeySequence::Copy);
    copyRowsAction->setShortcutContext(Qt::WidgetShortcut);
    connect(copyRowsAction, &QAction::triggered, this, &FramesPanel::copyRows);
    table->addActions({pairedAction, findAction, copyHexAction, copyRowsAction});
    // The actions follow the current row and what the receive view shows.
    const auto refresh = [this] {
        const int row = table->currentIndex().isValid() ? table->currentIndex().row() : -1;
        const bool paired = row >= 0 && frameModel->frameAt(row).pairedSeq != 0 &&
                            frameModel->rowForSeq(frameModel->frameAt(row).pairedSeq) >= 0;
        pairedAction->setEnabled(paired);
        const bool hex = receiveHexProbe && receiveHexProbe();
        findAction->setEnabled(row >= 0 && hex);
        findAction->setToolTip(hex ? tr("Jump to the last place these bytes appear in the "
                                        "receive view")
                                   : tr("Switch the receive view to Hex to find frames in it"));
    };
    connect(table->selectionModel(), &QItemSelectionModel::currentRowChanged, this, refresh);
    connect(frameModel, &QAbstractItemModel::dataChanged, this, refresh);
    connect(frameModel, &QAbstractItemModel::modelReset, this, refresh);
    refresh();
}

void FramesPanel::setTemplateNames(const QStringList &names)
{
    templateNames = names;
    rebuildDecoderCombo();
}

void FramesPanel::setPortNameProbe(std::function<QString()> probe)
{
    portNameProbe = std::move(probe);
}

void FramesPanel::setReceiveHexProbe(std::function<bool()> probe)
{
    receiveHexProbe = std::move(probe);
    const bool hex = receiveHexProbe && receiveHexProbe();
    findAction->setEnabled(table->currentIndex().isValid() && hex);
}

void FramesPanel::rebuildDecoderCombo()
{
    const QSignalBlocker blocker(decoderCombo);
    decoderCombo->clear();
    decoderCombo->addItem(tr("Off"), QStringList{QStringLiteral("0")});
    decoderCombo->addItem(QStringLiteral("Modbus RTU"), QStringList{QStringLiteral("1")});
    decoderCombo->addItem(QStringLiteral("Modbus ASCII"), QStringList{QStringLiteral("2")});
    decoderCombo->addItem(QStringLiteral("Modbus TCP"), QStringList{QStringLiteral("3")});
    if (!templateNames.isEmpty()) {
        decoderCombo->insertSeparator(decoderCombo->count());
    }
    for (const QString &name : std::as_const(templateNames)) {
        decoderCombo->addItem(name, QStringList{QStringLiteral("4"), name});
    }
    const DecoderChoice choice = runner->choice();
    int index = 0;
    if (choice.kind == DecoderChoice::Template) {
        index = decoderCombo->findData(QStringList{QStringLiteral("4"), choice.templateName});
        if (index < 0) {
            decoderCombo->addItem(tr("%1 (missing)").arg(choice.templateName),
                                  QStringList{QStringLiteral("4"), choice.templateName});
            index = decoderCombo->count() - 1;
        }
    } else {
        index = decoderCombo->findData(QStringList{QString::number(choice.kind)});
    }
    decoderCombo->setCurrentIndex(std::max(index, 0));
}

void FramesPanel::onDecoderActivated(int index)
{
    const QStringList data = decoderCombo->itemData(index).toStringList();
    if (data.isEmpty()) {
        return;
    }
    DecoderChoice choice = runner->choice();
    choice.kind = DecoderChoice::Kind(data.first().toInt());
    choice.templateName = data.value(1);
    if (choice == runner->choice()) {
        return;
    }
    runner->setChoice(choice);
    rebuildDecoderCombo();
    emit choiceChanged(runner->choice());
}

void FramesPanel::onFrames(const QList<DecodedFrame> &frames)
{
    decoderJustChanged = false;
    frameModel->append(frames);
    if (autoScrollAction->isChecked()) {
        table->scrollToBottom();
    }
    updateStatus();
}

void FramesPanel::onGenerationChanged()
{
    frameModel->clear();
    detailRow = -1;
    fieldTree->clear();
    hexStrip->clear();
    decoderJustChanged = true;
    updateStatus();
}

void FramesPanel::clearFrames()
{
    frameModel->clear();
    detailRow = -1;
    fieldTree->clear();
    hexStrip->clear();
    decoderJustChanged = false;
    updateStatus();
}

void FramesPanel::updateHoldBanner()
{
    const QString name = runner->choice().templateName;
    switch (runner->hold()) {
    case DecodeRunner::TemplateMissing:
        banner->setText(
            tr("The frame template \"%1\" no longer exists. Choose another decoder.").arg(name));
        banner->show();
        break;
    case DecodeRunner::TemplateInvalid:
        banner->setText(tr("The frame template \"%1\" cannot decode: %2 Fix it in Frame "
                           "Templates.")
                            .arg(name, runner->holdError()));
        banner->show();
        break;
    default:
        banner->hide();
    }
}

QString FramesPanel::statusText() const
{
    return statusLabel->text();
}

void FramesPanel::updateStatus()
{
    if (runner->hold() == DecodeRunner::NoDecoder) {
        statusLabel->setText(tr("Choose a decoder to start"));
        return;
    }
    if (decoderJustChanged) {
        statusLabel->setText(tr("Decoder changed; frames cleared"));
        return;
    }
    const QString count = tr("%n frame(s)", nullptr, frameModel->rowCount());
    statusLabel->setText(frameModel->droppedRows() > 0
                             ? tr("%1 (%2 older dropped)").arg(count).arg(frameModel->droppedRows())
                             : count);
}

int FramesPanel::currentRow() const
{
    return detailRow;
}

void FramesPanel::selectRow(int row)
{
    if (row < 0 || row >= frameModel->rowCount()) {
        return;
    }
    const QModelIndex index = table->model()->index(row, 0);
    table->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                        QItemSelectionModel::Rows);
    table->scrollTo(index);
    showDetail(row);
}

void FramesPanel::showDetail(int row)
{
    detailRow = row;
    fieldTree->clear();
    hexStrip->clear();
    if (row < 0 || row >= frameModel->rowCount()) {
        detailRow = -1;
        return;
    }
    const DecodedFrame &frame = frameModel->frameAt(row);
    const QByteArray image = FrameBytes::fieldImage(frame);
    QTreeWidgetItem *group = nullptr;
    for (const DecodedField &field : runner->explain(frame)) {
        const bool hasBytes = field.offset >= 0 && field.length >= 1 && field.offset < image.size();
        QStringList cells{field.name, field.value};
        cells << (hasBytes ? FrameDecoder::hexText(QByteArrayView(image).sliced(
                                 field.offset, std::min<qsizetype>(field.length,
                                                                   image.size() - field.offset)))
                           : QString())
              << (hasBytes ? QString::number(field.offset) : QString());
        QTreeWidgetItem *item = field.indent > 0 && group ? new QTreeWidgetItem(group, cells)
                                                          : new QTreeWidgetItem(fieldTree, cells);
        if (field.indent == 0) {
            group = item;
        }
        item->setData(0, FieldOffsetRole, hasBytes ? field.offset : -1);
        item->setData(0, FieldLengthRole, field.length);
        if (field.bad) {
            for (int column = 0; column < 4; ++column) {
                item->setForeground(column, QColor(0xC6, 0x28, 0x28));
            }
            QFont font = item->font(0);
            font.setBold(true);
            item->setFont(0, font);
        }
    }
    if (frame.pairedSeq != 0) {
        const bool response = frame.pairedSeq < frame.seq;
        const QString value = response && frame.latencyMs >= 0
                                  ? tr("#%1 · %2 ms").arg(frame.pairedSeq).arg(frame.latencyMs)
                                  : tr("#%1").arg(frame.pairedSeq);
        new QTreeWidgetItem(fieldTree, {tr("Paired with"), value});
    }
    fieldTree->expandAll();
    for (int column = 0; column < 3; ++column) {
        fieldTree->resizeColumnToContents(column);
    }
    hexStrip->setPlainText(FrameDecoder::hexText(image));
}

void FramesPanel::highlightField(QTreeWidgetItem *item)
{
    QList<QTextEdit::ExtraSelection> selections;
    const int offset = item ? item->data(0, FieldOffsetRole).toInt() : -1;
    const int length = item ? item->data(0, FieldLengthRole).toInt() : 0;
    const int shown = int(hexStrip->document()->characterCount() + 1) / 3;
    if (item && offset >= 0 && length > 0 && offset < shown) {
        QTextEdit::ExtraSelection selection;
        selection.cursor = QTextCursor(hexStrip->document());
        selection.cursor.setPosition(offset * 3);
        selection.cursor.setPosition(std::min(offset + length, shown) * 3 - 1,
                                     QTextCursor::KeepAnchor);
        selection.format.setBackground(QColor(0xFF, 0xCC, 0x66));
        selections.append(selection);
    }
    hexStrip->setExtraSelections(selections);
}

QList<int> FramesPanel::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex &index : table->selectionModel()->selectedRows()) {
        rows.append(index.row());
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

void FramesPanel::goToPairedFrame()
{
    if (detailRow < 0) {
        return;
    }
    const quint64 paired = frameModel->frameAt(detailRow).pairedSeq;
    const int row = frameModel->rowForSeq(paired);
    if (row >= 0) {
        frameModel->setHighlightedSeq(paired);
        selectRow(row);
    }
}

void FramesPanel::findInReceive()
{
    if (detailRow >= 0) {
        emit findInReceiveRequested(FrameDecoder::hexText(frameModel->frameAt(detailRow).raw));
    }
}

void FramesPanel::copyHex()
{
    QStringList lines;
    for (const int row : selectedRows()) {
        lines.append(FrameDecoder::hexText(frameModel->frameAt(row).raw));
    }
    if (!lines.isEmpty()) {
        QApplication::clipboard()->setText(lines.join(u'\n'));
    }
}

void FramesPanel::copyRows()
{
    const QString text = frameModel->rowsText(selectedRows());
    if (!text.isEmpty()) {
        QApplication::clipboard()->setText(text);
        emit rowsCopied(text);
    }
}

bool FramesPanel::writeCsv(const QString &path, bool fields, QString *error) const
{
    const FrameCsv::ExplainFunction explain = [this](const DecodedFrame &frame) {
        return runner->explain(frame);
    };
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        *error = file.errorString();
        return false;
    }
    // The byte order mark makes spreadsheets read the file as UTF-8.
    QByteArray chunk("\xEF\xBB\xBF");
    chunk += (fields ? FrameCsv::fieldsHeader() : FrameCsv::framesHeader()).toUtf8();
    const QString protocol = runner->protocolName();
    for (const DecodedFrame &frame : frameModel->frames()) {
        chunk += (fields ? FrameCsv::fieldRows(frame, explain)
                         : FrameCsv::frameRow(frame, explain, protocol))
                     .toUtf8();
        if (chunk.size() > 65535) {
            file.write(chunk);
            chunk.clear();
        }
    }
    file.write(chunk);
    if (!file.commit()) {
        *error = file.errorString();
        return false;
    }
    return true;
}

void FramesPanel::exportCsv(bool fields)
{
    if (frameModel->rowCount() == 0) {
        QMessageBox::information(this, tr("Export"), tr("There are no frames to export."));
        return;
    }
    const QString name = FrameCsv::defaultFileName(portNameProbe ? portNameProbe() : QString(),
                                                   QDateTime::currentDateTime());
    const QString path = QFileDialog::getSaveFileName(
        this, fields ? tr("Export Fields") : tr("Export Frames"),
        QDir(ExportDialogs::lastDirectory()).filePath(name),
        tr("CSV files (*.csv);;All files (*)"));
    if (path.isEmpty()) {
        return;
    }
    ExportDialogs::rememberDirectory(path);
    QString error;
    if (!writeCsv(path, fields, &error)) {
        QMessageBox::warning(this, tr("Export"),
                             tr("%1 could not be written: %2")
                                 .arg(QDir::toNativeSeparators(path), error));
    }
}
