#include "automation/commandlibrary.h"

int CommandLibrary::commandCount() const
{
    int count = 0;
    for (const CommandGroup &group : groups) {
        count += int(group.commands.size());
    }
    return count;
}
