#pragma once

// Edits one auto reply rule, with previews that run the engine's own compilation at
// every change: what the pattern matches and what the reply sends, or why not.

#include "automation/autoreplyengine.h"

#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QSpinBox;

class AutoReplyRuleDialog : public QDialog
{
    Q_OBJECT

public:
    AutoReplyRuleDialog(const AutoReplyRule &rule, const QString &rxEncoding,
                        const QString &txEncoding, QWidget *parent = nullptr);

    AutoReplyRule rule() const;

    // "01 03 ?? *": bytes as two upper-case hex digits, any byte as "??", any run as "*".
    static QString describeUnits(const QList<int> &units);

private:
    void pushRule(const AutoReplyRule &rule);
    void refresh();
    static void showProblem(QLabel *label, const QString &text);
    static void showFine(QLabel *label, const QString &text);

    const QString rxEncoding;
    const QString txEncoding;
    AutoReplyRule original;
    bool pushing = false;

    QLineEdit *nameEdit = nullptr;
    QComboBox *matchCombo = nullptr;
    QLineEdit *patternEdit = nullptr;
    QLabel *patternHint = nullptr;
    QLabel *patternPreview = nullptr;
    QComboBox *replyFormatCombo = nullptr;
    QLineEdit *replyEdit = nullptr;
    QLabel *replyPreview = nullptr;
    QComboBox *checksumCombo = nullptr;
    QSpinBox *delaySpin = nullptr;
    QSpinBox *everyNSpin = nullptr;
    QSpinBox *dropSpin = nullptr;
    QSpinBox *maxHitsSpin = nullptr;
};
