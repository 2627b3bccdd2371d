#pragma once

#include <QDialog>

class QLineEdit;

// Where the program keeps its last-used state; opened from Edit > Settings File
// Location. A first start takes defaultPath() without asking.
class SetConfigFilePathDialog : public QDialog
{
    Q_OBJECT
public:
    explicit SetConfigFilePathDialog(QWidget *parent = nullptr);

    QString path() const;
    void setPath(const QString &path);
    static QString defaultPath();

private:
    void browse();

    QLineEdit *pathEdit = nullptr;
};
