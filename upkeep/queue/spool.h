// Where the mail server keeps its queues.
#pragma once

#include <string>

namespace upkeep {

/// The directory with the mail server's configuration that is in force.
std::string MailServerFiles();

/// The mail server's queue directory, as the configuration in force has it.
std::string MailSpool();

}  // namespace upkeep
