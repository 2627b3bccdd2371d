#pragma once

// The bridges of the bench: one row each with its state, the traffic of the selected one
// as a sparkline and counters, and the buttons to add, edit, delete and resume.

#include "bridge/bridgeconfig.h"

#include <QDialog>

#include <functional>

class BridgeEditDialog;
class BridgeManager;
class BridgeSparkline;
class QLabel;
class QPushButton;
class QTableWidget;

class BridgeDialog : public QDialog
{
    Q_OBJECT

public:
    BridgeDialog(BridgeManager *manager, const QStringList &portNames, QWidget *parent = nullptr);

    BridgeConfig suggestedConfig() const;
    int selectedRow() const;
    void selectRow(int row);
    void refreshList();
    void refreshStats();
    void onAdd();
    void onEdit();
    void onRemove();
    void onResume();
    QTableWidget *table() const { return list; }
    QString detailText() const;

    // Lets tests answer the editor instead of a user.
    std::function<bool(BridgeEditDialog &)> editorHook;

private:
    bool runEditor(BridgeEditDialog &editor);
    QString endName(const BridgeConfig &config, bool endB) const;

    BridgeManager *manager;
    QStringList ports;
    QTableWidget *list;
    BridgeSparkline *sparkline;
    QLabel *detail;
    QPushButton *editButton;
    QPushButton *removeButton;
    QPushButton *resumeButton;
};
