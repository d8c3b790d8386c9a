// RSA key files for DKIM. Provided by libmailvane.so.
#pragma once

#include <string>

/// Makes a private key of `bits` bits in PEM format; it is used once `GenerateRSAPublicKey` has
/// run. Negative on failure, with an older key unchanged.
int GenerateRSAPrivateKey(const char* path, unsigned int bits);

/// Derives the public key ("PUBLIC KEY" in PEM format) and puts both keys in place together.
/// Negative on failure, with an older pair unchanged.
int GenerateRSAPublicKey(const char* privatePath, const char* publicPath);

/// Reads the PEM text of a public key; negative on failure.
int ReadRSAPublicKey(const char* path, std::string& text);
