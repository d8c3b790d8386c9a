// The key pair that signs outgoing mail.
#pragma once

#include <string>

/// Path of the public key.
extern const char kDkimPublicKey[];

/// Makes a new key pair. Negative (logged) on failure.
int CreateDkimKeyPair();

/// Reads the public key as one line, as in a TXT record. Negative (logged) on failure.
int ReadDkimPublicKey(std::string& text);
