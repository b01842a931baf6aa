#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

// The writing primitives of the log's canonical bytes. Reading is simdjson's
// job; writing stays here because the bytes are fixed: keys in byte order and
// the shortest doubles that read back identical, which no library writes.
namespace korvalume::jsontext {

// Thrown by the writers; caught at the public boundary.
struct JsonTextError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Writing. Doubles use the shortest digits that read back to the identical
// double, in plain notation for 1e-6 <= |x| < 1e21 (so an instant such as
// 1700000000.0 is written 1700000000, as the phones write it) and in exponent
// notation outside that range. Non-finite values and text that is not UTF-8
// throw JsonTextError naming `what`.
void appendString(std::string& out, std::string_view text, std::string_view what);
void appendDouble(std::string& out, double value, std::string_view what);
void appendInt(std::string& out, std::int64_t value);

} // namespace korvalume::jsontext
