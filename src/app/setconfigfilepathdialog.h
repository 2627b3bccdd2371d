#pragma once

#include <QDialog>

class QLineEdit;

// Asked once, at the first start: where the program keeps its last-used state.
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
