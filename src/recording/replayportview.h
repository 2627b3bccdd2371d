#pragma once

// One port of a replay: its received and sent bytes shown as the port's own terminal
// would show them (its recorded formats and encodings), and, on demand, its decoded
// frames and its plot, both running on the replay's simulated clock.

#include "recording/sessionexport.h"

#include <QWidget>

#include <memory>

class DecodeRunner;
class FramesPanel;
class PlotPanel;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QToolButton;
class ReceiveRenderer;
struct FormatSetting;
struct ReplayEvent;

class ReplayPortView : public QWidget
{
    Q_OBJECT
public:
    explicit ReplayPortView(const SessionExport::PortInfo &info, QWidget *parent = nullptr);
    ~ReplayPortView() override;

    const SessionExport::PortInfo &info() const { return port; }
    // Shows one event; the simulated clock moves to its time first.
    void apply(const ReplayEvent &event);
    void showBookmark(const QString &name, qint64 us);
    void showLine(const QString &text);
    // Empties the view and resets the decoder and the plot.
    void clear();
    // Lays out what was applied since the last call.
    void flush();
    void setTitleSuffix(const QString &suffix);
    void setFramesVisible(bool on);
    void setPlotVisible(bool on);
    bool framesVisible() const;
    bool plotVisible() const;
    QPlainTextEdit *textView() const { return view; }
    DecodeRunner *decodeRunner() const { return runner; }
    qint64 simulatedUs() const { return nowUs; }
    qint64 shownEvents() const { return shown; }

private:
    void buildViewMenu();
    void setReceivedHex(bool hex);

    SessionExport::PortInfo port;
    std::unique_ptr<FormatSetting> format;
    QLabel *title;
    QToolButton *viewButton;
    QPlainTextEdit *view;
    std::unique_ptr<ReceiveRenderer> renderer;
    DecodeRunner *runner;
    FramesPanel *frames;
    PlotPanel *plot;
    qint64 nowUs = 0;
    qint64 shown = 0;
    bool batching = false;
};
