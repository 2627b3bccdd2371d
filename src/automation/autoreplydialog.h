#pragma once

// Edits a port's list of auto reply rules, with a test box that feeds a line of input
// to an engine built from the rules as they stand in the dialog.

#include "automation/autoreplyengine.h"

#include <QDialog>

class QCheckBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTableWidget;
class QTableWidgetItem;

class AutoReplyDialog : public QDialog
{
    Q_OBJECT

public:
    // `live` is the port's engine, for its encodings and hit counts; it may be null.
    AutoReplyDialog(const QString &portName, const AutoReplyConfig &config,
                    const AutoReplyEngine *live, QWidget *parent = nullptr);

    AutoReplyConfig config() const;

    // Printable ASCII as it is, CR, LF and tab as \r \n \t, other bytes as \xHH.
    static QString describeBytes(const QByteArray &bytes);

private:
    enum Column { NameColumn, MatchColumn, PatternColumn, ReplyColumn, DelayColumn, HitsColumn };

    void runTest();
    void refreshTable();
    void updateButtons();
    void itemEdited(QTableWidgetItem *item);
    int selectedRow() const;
    void selectRow(int row);
    void editRule(int row);
    void addRule();
    void duplicateRule();
    void removeRule();
    void moveRule(int step);
    QString ruleLabel(int index) const;

    const AutoReplyEngine *live;
    QString rxEncoding;
    QString txEncoding;
    QList<AutoReplyRule> rules;
    QList<int> liveIndex; // the rule's index in the live engine, -1 for new rules
    bool pushing = false;

    QCheckBox *playDeadCheck = nullptr;
    QCheckBox *showNotesCheck = nullptr;
    QTableWidget *table = nullptr;
    QPushButton *addButton = nullptr;
    QPushButton *editButton = nullptr;
    QPushButton *duplicateButton = nullptr;
    QPushButton *removeButton = nullptr;
    QPushButton *upButton = nullptr;
    QPushButton *downButton = nullptr;
    QLineEdit *testEdit = nullptr;
    QCheckBox *testHexCheck = nullptr;
    QPushButton *testButton = nullptr;
    QPlainTextEdit *testResult = nullptr;
};
