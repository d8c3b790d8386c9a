// Constructs, runs and destroys the handler, and logs what escapes from it.
#include "frame/entry.h"

#include <stdexcept>

#include "frame/log.h"
#include "frame/mailvane_handler.h"

int RunRequest()
{
    int result = -1;
    try {
        MailvaneHandler handler;
        handler.Run();
        // Deliberate: from here on the answer is out, so a throwing destructor is only logged.
        result = 0;
    } catch (const std::invalid_argument& error) {
        LogError(Here(), "%s", error.what());
    } catch (const std::exception& error) {
        LogError(Here(), "%s", error.what());
    }
    return result;
}
