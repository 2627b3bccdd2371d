// Decoded frames on a port panel: the DecodeRunner fed from the received and sent
// roads, the FramesPanel under the receive view that shows what it decodes, the
// decoder the user chose there, and the template library the window hands down.

#include "session/serialportwidget.h"

#include "decode/decoderunner.h"
#include "decode/framespanel.h"
#include "decode/frametemplate.h"
#include "decode/frametemplatecodec.h"
#include "decode/templatestreamdecoder.h"
#include "session/receivefindbar.h"
#include "session/ui_serialportwidget.h"

#include <QAction>
#include <QMenu>
#include <QSplitter>

namespace {
const QString FramesActionName = QStringLiteral("acViewFrames");

QStringList namesOf(const QList<FrameTemplate> *templates)
{
    QStringList names;
    if (templates) {
        for (const FrameTemplate &t : *templates) {
            names.append(t.name.trimmed());
        }
    }
    return names;
}
} // namespace

void SerialPortWidget::setupDecode()
{
    // Connected ahead of the plot and the runners, so frames are cut from the bytes
    // before anything answers them.
    decoder = new DecodeRunner(this);
    connect(this, &SerialPortWidget::rxTapped, decoder, &DecodeRunner::ingestRx);
    connect(this, &SerialPortWidget::txTapped, decoder, &DecodeRunner::ingestTx);
    setFrameTemplates({});
}

// Called once the View menu and the find bar exist.
void SerialPortWidget::setupFramesPanel()
{
    frames = new FramesPanel(decoder);
    frames->setObjectName(QStringLiteral("framesPanel"));
    // At the bottom, below the send box, which stays next to the receive view.
    ui->dataSplitter->addWidget(frames);
    ui->dataSplitter->setStretchFactor(ui->dataSplitter->indexOf(frames), 3);
    frames->setPortNameProbe([this] { return sessionPortLabel(); });
    frames->setReceiveHexProbe([this] { return format.receiveMsgFormat == HexFormat; });
    frames->hide();

    QAction *framesAction = viewMenuValue->addAction(tr("Frames"));
    framesAction->setObjectName(FramesActionName);
    framesAction->setCheckable(true);
    framesAction->setToolTip(tr("Decode the traffic into Modbus or template frames"));
    connect(framesAction, &QAction::triggered, this, [this](bool on) {
        setFramesVisible(on);
        markSettingsDirty();
    });
    connect(frames, &FramesPanel::closeRequested, this, [this] {
        setFramesVisible(false);
        markSettingsDirty();
    });
    connect(frames, &FramesPanel::choiceChanged, this, &SerialPortWidget::markSettingsDirty);
    connect(frames, &FramesPanel::templatesEditRequested, this,
            &SerialPortWidget::frameTemplatesEditRequested);
    connect(frames, &FramesPanel::findInReceiveRequested, this, [this](const QString &hex) {
        if (!receiveFind->findText(hex, false)) {
            showMessage(tr("These bytes are no longer in the receive view."), 5000);
        }
    });
}

DecoderChoice SerialPortWidget::decoderChoice() const
{
    return decoder->choice();
}

void SerialPortWidget::setDecoderChoice(const DecoderChoice &choice)
{
    decoder->setChoice(choice);
    setFramesVisible(choice.panelVisible);
    // The decoder list shows the new choice.
    frames->setTemplateNames(namesOf(templateLibrary.get()));
}

void SerialPortWidget::setFramesVisible(bool visible)
{
    // The runner decodes only while the panel is open; what arrives while it is closed
    // is never decoded later.
    decoder->setPanelVisible(visible);
    if (frames) {
        frames->setVisible(visible);
        if (auto *action = viewMenuValue->findChild<QAction *>(FramesActionName)) {
            action->setChecked(visible);
        }
    }
}

void SerialPortWidget::setFrameTemplates(const QList<FrameTemplate> &templates,
                                         const QHash<QString, QString> &renames)
{
    // A template keeps its stamp while it stays the same, also across a rename; an
    // edited or new one gets a fresh stamp, and with it a fresh decoder.
    QHash<QString, quint64> stamps;
    for (const FrameTemplate &t : templates) {
        const QString name = t.name.trimmed();
        const QString before = renames.key(name, name);
        const FrameTemplate *old =
            templateLibrary ? FrameTemplateCodec::find(*templateLibrary, before) : nullptr;
        stamps.insert(name, old && *old == t ? templateStamps.value(before) : ++lastTemplateStamp);
    }
    templateStamps = stamps;
    auto library = std::make_shared<const QList<FrameTemplate>>(templates);
    templateLibrary = library;

    decoder->setTemplates(
        [library, stamps](const QString &name) {
            DecodeRunner::TemplateLookup lookup;
            const FrameTemplate *found = FrameTemplateCodec::find(*library, name);
            lookup.found = found != nullptr;
            if (!found) {
                return lookup;
            }
            if (!found->validate(&lookup.error)) {
                return lookup;
            }
            lookup.identity = QByteArray::number(stamps.value(name.trimmed()));
            const FrameTemplate copy = *found;
            lookup.create = [copy] { return std::make_unique<TemplateStreamDecoder>(copy); };
            return lookup;
        },
        renames);
    if (frames) {
        frames->setTemplateNames(namesOf(&templates));
    }
}
