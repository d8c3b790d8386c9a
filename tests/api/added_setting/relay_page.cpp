// Prints the settings of the SMTP server as a page has them, on a machine below a folder.
//
//   page_with_added FOLDER
#include <json/writer.h>

#include <iostream>

#include "frame/settings_json.h"
#include "host/libhaldcore/paths.h"
#include "platform/mailvane/postfix.h"

int main(int count, char** arguments)
{
    if (count != 2) return 2;

    host::SetRoot(arguments[1]);
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return 1;

    Json::Value page;
    AllSettingsToJson(page, postfix);
    std::cout << page;
    return 0;
}
