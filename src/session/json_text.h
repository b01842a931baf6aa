#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

// A small strict JSON reader and the writing primitives of the log's file form.
// nlohmann-json is correct but too slow for logs of 100,000 events, and its
// number form is not the one chosen here; both sides stay bounded in memory and
// nesting on any input.
namespace korvalume::jsontext {

// Thrown by JsonReader and the writers; caught at the public boundary.
struct JsonTextError : std::runtime_error {
    using std::runtime_error::runtime_error;
};
// Text that is not JSON at all; the message carries the byte offset.
struct JsonSyntaxError : JsonTextError {
    using JsonTextError::JsonTextError;
};

// Unknown values are skipped only up to this nesting depth.
inline constexpr int maxDepth = 256;

bool isValidUtf8(std::string_view text);

// The value of one hexadecimal digit, either case; -1 for any other character.
int hexValue(char c);
// Roughly log10 of the magnitude of a valid JSON number token (where its first
// significant digit sits, plus the exponent); tells overflow from underflow.
long long decimalExponent(std::string_view token);
// Deepest nesting of arrays and objects, counted outside strings, stopping at `limit` + 1.
int nestingDepth(std::string_view json, int limit = maxDepth);

// Writing. Doubles use the shortest digits that read back to the identical
// double, in plain notation for 1e-6 <= |x| < 1e21 (so an instant such as
// 1700000000.0 is written 1700000000, as the phones write it) and in exponent
// notation outside that range. Non-finite values and text that is not UTF-8
// throw JsonTextError naming `what`.
void appendString(std::string& out, std::string_view text, std::string_view what);
void appendDouble(std::string& out, double value, std::string_view what);
void appendInt(std::string& out, std::int64_t value);

enum class ValueType { object, array, string, number, boolean, null, invalid };

// Reads one JSON text in order, without building a tree. Syntax errors throw
// JsonTextError with the byte offset; typed reads throw naming `what` when the
// value has another type.
class JsonReader {
public:
    explicit JsonReader(std::string_view text);

    ValueType peekType();
    // Consumes a null and answers true, or answers false and consumes nothing.
    bool skipNull();

    std::string readString(std::string_view what);
    double readDouble(std::string_view what);
    // Any number with an exact 64-bit integer value (25, 25.0, 2.5e1).
    std::int64_t readInt(std::string_view what);
    bool readBool(std::string_view what);
    void skipValue();

    // Calls onKey(key) for each member; onKey must consume the member's value.
    template <class OnKey> void readObject(std::string_view what, OnKey&& onKey) {
        beginObject(what);
        if (!endOfContainer('}')) {
            do {
                onKey(readKey());
            } while (nextMember('}'));
        }
    }
    // Calls onElement(index) for each element; onElement must consume it.
    template <class OnElement> void readArray(std::string_view what, OnElement&& onElement) {
        beginArray(what);
        std::size_t index = 0;
        if (!endOfContainer(']')) {
            do {
                onElement(index++);
            } while (nextMember(']'));
        }
    }

    // Only whitespace may follow the value.
    void expectEnd();
    std::size_t offset() const { return pos_; }

private:
    void skipWhitespace();
    [[noreturn]] void syntaxError(std::string_view problem) const;
    [[noreturn]] void typeError(std::string_view what, std::string_view expected) const;
    void beginObject(std::string_view what);
    void beginArray(std::string_view what);
    bool endOfContainer(char close);
    bool nextMember(char close);
    std::string_view readKey();
    void readStringBody(std::string& out);
    std::string_view numberToken(bool& integral);
    double numberValue(std::string_view token, std::string_view what) const;
    void expectLiteral(std::string_view literal);

    std::string_view text_;
    std::size_t pos_ = 0;
    int depth_ = 0;
    std::string keyBuffer_;
};

} // namespace korvalume::jsontext
