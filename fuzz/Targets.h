#pragma once

#include <cstdint>
#include <span>

namespace ambrel::fuzz {

using Bytes = std::span<const std::uint8_t>;

/// Each does with the bytes what the program does with input of that kind, which may come from
/// anywhere, and aborts where something was promised that is not so.
void audioFile(Bytes bytes); ///< a file: opened, read here and there, reduced to peaks
void records(Bytes bytes);   ///< what is stored: the first byte says which record
void addresses(Bytes bytes); ///< a web address, the helper's answer to it, a command line
void numbers(Bytes bytes);   ///< the text of a number field

/// Aborts unless `kept`, saying what was promised.
void promise(bool kept, const char* what);

} // namespace ambrel::fuzz
