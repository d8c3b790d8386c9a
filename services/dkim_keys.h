// The key pair that signs outgoing mail.
#pragma once

#include <string>

/// Path of the public half.
extern const char kDkimPublicKey[];

/// Makes a new pair. Negative after a failure, which is logged.
int CreateDkimKeyPair();

/// The public half as one line, as it goes into a TXT record. Negative after a failure, which is
/// logged.
int ReadDkimPublicKey(std::string& text);
