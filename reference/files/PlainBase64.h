#pragma once

#include <string>

// Base64 without any tricks: a group of four characters after the other.
namespace qx::plain {

// Writes the characters of length bytes and a zero behind them; returns the destination.
char* encodeBase64(const char* source, char* destination, int length);

std::string encodedBase64(const std::string& bytes);

// Decodes up to a zero, the end of the text or padding. A character that is not in the alphabet counts as 255, and so
// does one that an incomplete last group lacks.
std::string decodedBase64(const std::string& text);

}  // namespace qx::plain
