// RSA key files for DKIM. Provided by libmailvane.so.
#pragma once

#include <string>

/// Makes a private key of `bits` bits, in PEM form, to be used once its public half is written.
/// Negative on failure, an older key is then untouched.
int GenerateRSAPrivateKey(const char* path, unsigned int bits);

/// Derives the public half, in PEM form "PUBLIC KEY", and puts both halves in place together.
/// Negative on failure, an older pair is then untouched.
int GenerateRSAPublicKey(const char* privatePath, const char* publicPath);

/// Reads the PEM text of a public key as it stands; negative on failure.
int ReadRSAPublicKey(const char* path, std::string& text);
