#pragma once

// A dialog around CommandEditor for adding or changing one library command.

#include "automation/commandlibrary.h"
#include "connection/settings.h"

#include <QDialog>

class CommandEditor;

class CommandEditDialog : public QDialog
{
    Q_OBJECT
public:
    CommandEditDialog(const Command &command, const FormatSetting &format,
                      QWidget *parent = nullptr);

    Command command() const;
    CommandEditor *editor() const { return form; }

private:
    CommandEditor *form = nullptr;
};
