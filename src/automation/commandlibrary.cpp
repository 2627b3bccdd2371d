#include "automation/commandlibrary.h"

int CommandLibrary::commandCount() const
{
    int count = 0;
    for (const CommandGroup &group : groups) {
        count += int(group.commands.size());
    }
    return count;
}

const Command *CommandLibrary::findCommand(const QString &name) const
{
    for (const CommandGroup &group : groups) {
        for (const Command &command : group.commands) {
            if (command.name == name) {
                return &command;
            }
        }
    }
    return nullptr;
}
