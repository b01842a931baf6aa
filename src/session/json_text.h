#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// The writing primitives of the log's canonical bytes. Reading is simdjson's
// job; writing stays here because the bytes are fixed: keys in byte order and
// the shortest doubles that read back identical, which no library writes.
namespace korvalume::jsontext {

// Thrown by the readers (session/json_read.h); caught at their public boundary.
struct JsonTextError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Writing. Doubles use the shortest digits that read back to the identical
// double, in plain notation for 1e-6 <= |x| < 1e21 (so an instant such as
// 1700000000.0 is written 1700000000, as the phones write it) and in exponent
// notation outside that range. A non-finite value or text that is not UTF-8 cannot
// be written: false, and `out` is then unusable.
bool appendString(std::string& out, std::string_view text);
bool appendDouble(std::string& out, double value);
void appendInt(std::string& out, std::int64_t value);

// Compact JSON written value by value; it places the commas and colons itself. Keys
// are written as given, so a caller that wants them sorted gives them sorted. The
// first value that cannot be written is kept as the error, naming it and where it is;
// nothing is thrown.
class Writer {
public:
    explicit Writer(std::string& out) : out_(out) {}

    Writer& beginObject();
    Writer& endObject();
    Writer& beginArray();
    Writer& endArray();
    Writer& key(std::string_view name);
    // `what` names the value in an error ("name", "at").
    Writer& string(std::string_view text, std::string_view what);
    Writer& number(double value, std::string_view what);
    Writer& integer(std::int64_t value);
    Writer& boolean(bool value);
    Writer& null();
    // A value that is JSON already.
    Writer& json(std::string_view encoded);

    // Errors from here on are said to be in `place` ("events[12]"); empty for the top.
    void setPlace(std::string place) { place_ = std::move(place); }
    const std::optional<std::string>& error() const { return error_; }

private:
    void beforeValue();
    void fail(std::string_view what, std::string_view problem);

    std::string& out_;
    std::vector<bool> filled_; // per open object or array: a member was written
    bool afterKey_ = false;
    std::string place_;
    std::optional<std::string> error_;
};

} // namespace korvalume::jsontext
