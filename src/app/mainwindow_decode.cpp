// The main window's side of protocol decoding: the project's frame templates and their
// editor, each port's choice of decoder as the project keeps it, and the Modbus request
// builder that writes into the send box of the port in focus.

#include "app/mainwindow.h"

#include "app/projectcodec.h"
#include "decode/frametemplatecodec.h"
#include "decode/frametemplatedialog.h"
#include "decode/modbusbuilderdialog.h"
#include "session/serialportwidget.h"

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QSettings>

namespace {
const QString LastDecodePrefix = QStringLiteral("LastDecode");
} // namespace

void MainWindow::createDecodeActions(QMenu *tools)
{
    tools->addSeparator();
    QAction *builder = tools->addAction(tr("Modbus Request Builder..."));
    builder->setObjectName(QStringLiteral("acToolsModbusBuilder"));
    connect(builder, &QAction::triggered, this, [this] { openModbusBuilder(); });
    QAction *templates = tools->addAction(tr("Frame Templates..."));
    templates->setObjectName(QStringLiteral("acToolsFrameTemplates"));
    connect(templates, &QAction::triggered, this, [this] { editFrameTemplates(); });
}

void MainWindow::connectPortDecode(SerialPortWidget *port)
{
    port->setFrameTemplates(frameTemplateList);
    connect(port, &SerialPortWidget::frameTemplatesEditRequested, this,
            [this] { editFrameTemplates(); });
}

ModbusBuilderDialog *MainWindow::openModbusBuilder()
{
    if (!modbusBuilder) {
        modbusBuilder = new ModbusBuilderDialog(this);
        // The request goes into the send box of the port in focus, as hex.
        connect(modbusBuilder, &ModbusBuilderDialog::insertRequested, this,
                [this](const QString &hex) {
                    if (SerialPortWidget *port = focusedPortWidget()) {
                        port->setSendHex(true);
                        port->setSendText(hex, false);
                    }
                });
    }
    modbusBuilder->show();
    modbusBuilder->raise();
    modbusBuilder->activateWindow();
    return modbusBuilder;
}

bool MainWindow::editFrameTemplates()
{
    FrameTemplateDialog dialog(frameTemplateList, this);
    if (frameTemplatesDialogHook ? !frameTemplatesDialogHook(dialog)
                                 : dialog.exec() != QDialog::Accepted) {
        return false;
    }
    applyFrameTemplateEdits(dialog.templates(), dialog.renames());
    return true;
}

DecoderChoice MainWindow::decoderChoice(int index) const
{
    const SerialPortWidget *port = portWidget(index);
    return port ? port->decoderChoice() : DecoderChoice();
}

void MainWindow::applyFrameTemplateEdits(const QList<FrameTemplate> &templates,
                                         const QHash<QString, QString> &renames)
{
    frameTemplateList = templates;
    // A port that decodes with a renamed template follows the new name; one whose
    // template is gone decodes with nothing.
    QHash<QString, QString> changes = renames;
    for (int i = 0; i < portCountValue; ++i) {
        const DecoderChoice choice = decoderChoice(i);
        const QString name = choice.templateName.trimmed();
        if (choice.kind == DecoderChoice::Template && !changes.contains(name) &&
            !FrameTemplateCodec::find(frameTemplateList, name)) {
            changes.insert(name, QString());
        }
    }
    for (int i = 0; i < portCountValue; ++i) {
        portWidgets[size_t(i)]->setFrameTemplates(frameTemplateList, changes);
    }
    markModified();
}

void MainWindow::saveDecode(QSettings &file) const
{
    FrameTemplateCodec::save(file, FrameTemplateCodec::projectPrefix(), frameTemplateList);
    for (int i = 0; i < portCountValue; ++i) {
        FrameTemplateCodec::saveChoice(file, ProjectCodec::decodeGroup(i), decoderChoice(i));
    }
}

void MainWindow::loadDecode(QSettings &file)
{
    if (FrameTemplateCodec::contains(file, FrameTemplateCodec::projectPrefix())) {
        frameTemplateList = FrameTemplateCodec::load(file, FrameTemplateCodec::projectPrefix());
    }
    for (int i = 0; i < portCountValue; ++i) {
        SerialPortWidget *port = portWidgets[size_t(i)];
        port->setFrameTemplates(frameTemplateList);
        port->setDecoderChoice(FrameTemplateCodec::withKnownTemplate(
            FrameTemplateCodec::loadChoice(file, ProjectCodec::decodeGroup(i)), frameTemplateList));
    }
}

void MainWindow::saveDecodeState(QSettings &store) const
{
    FrameTemplateCodec::save(store, FrameTemplateCodec::projectPrefix(), frameTemplateList);
    FrameTemplateCodec::saveChoice(store, LastDecodePrefix, decoderChoice(0));
}

void MainWindow::loadDecodeState(QSettings &store)
{
    frameTemplateList = FrameTemplateCodec::load(store, FrameTemplateCodec::projectPrefix());
    for (int i = 0; i < portCountValue; ++i) {
        portWidgets[size_t(i)]->setFrameTemplates(frameTemplateList);
    }
    portWidgets[0]->setDecoderChoice(FrameTemplateCodec::withKnownTemplate(
        FrameTemplateCodec::loadChoice(store, LastDecodePrefix), frameTemplateList));
}

QWidget *MainWindow::openDecodeScreenshot(const QString &name)
{
    if (name == QLatin1String("modbusbuilder")) {
        // Ten coils written to a slave, as the builder shows the frame.
        ModbusBuilderDialog *dialog = openModbusBuilder();
        auto *function = dialog->findChild<QComboBox *>(QStringLiteral("cbFunction"));
        function->setCurrentIndex(function->findData(15));
        dialog->findChild<QLineEdit *>(QStringLiteral("leValues"))
            ->setText(QStringLiteral("1 0 1 1 0 0 0 0 1 1"));
        return dialog;
    }
    if (name != QLatin1String("templates")) {
        return nullptr;
    }
    // A sensor board's binary report and a text protocol, the first tried on a frame.
    FrameTemplate sensor;
    sensor.name = QStringLiteral("Sensor board");
    sensor.header = QByteArray::fromHex("AA55");
    sensor.checksum.kind = ChecksumSpec::Sum8;
    sensor.checksumStart = 2;
    const auto field = [](const char *fieldName, int offset, FieldType type) {
        FieldSpec f;
        f.name = QString::fromLatin1(fieldName);
        f.offset = offset;
        f.type = type;
        return f;
    };
    FieldSpec status = field("status", 4, FieldType::U8);
    status.labels = QStringLiteral("1=Run;2=Stop");
    sensor.fields = {field("cmd", 3, FieldType::U8), status, field("channel", 5, FieldType::U8),
                     field("value", 6, FieldType::F32)};
    FrameTemplate lines;
    lines.name = QStringLiteral("GPS sentences");
    lines.framing = FrameTemplate::Delimited;
    lines.header = QByteArray("$");
    lines.fields = {field("sentence", 1, FieldType::Ascii)};
    lines.fields.first().length = 5;
    auto *dialog = new FrameTemplateDialog({sensor, lines}, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setTestText(QStringLiteral("AA 55 07 01 01 02 41 20 00 00 6C"));
    dialog->show();
    return dialog;
}
