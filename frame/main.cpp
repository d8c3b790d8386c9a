// Process entry: one HTTP request, one process.
#include "frame/entry.h"

int main()
{
    return RunRequest();
}
