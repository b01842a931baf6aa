#pragma once

#include "session/json_text.h"

#include <simdjson.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

// Strict reading of untrusted JSON with simdjson's on-demand parser. Every
// value is visited, skipped ones included, so grammar, escapes and number
// ranges are checked all through; the nesting limit is kept here because
// on-demand parsing does not count depth. Refusals throw JsonTextError naming
// the key, or JsonSyntaxError with the byte offset for text that is not JSON.
namespace korvalume::jsonread {

using Value = simdjson::ondemand::value;

struct JsonSyntaxError : jsontext::JsonTextError {
    using JsonTextError::JsonTextError;
};
// A well-formed number beyond the range of a double: no JSON reader takes it.
struct NumberRangeError : jsontext::JsonTextError {
    using JsonTextError::JsonTextError;
};

class Reader {
public:
    Reader(std::string_view text, int maxDepth);

    // The root, an object or an array as `type` says; `what` names it in a refusal.
    Value root(simdjson::ondemand::json_type type, std::string_view what);
    simdjson::ondemand::json_type typeOf(Value& value);
    // Only whitespace may follow the root value, which must have been read.
    void expectEnd();

    std::string_view readString(Value& value, std::string_view what);
    double readDouble(Value& value, std::string_view what);
    // Any number with an exact 64-bit integer value (25, 25.0, 2.5e1).
    std::int64_t readInt(Value& value, std::string_view what);
    bool readBool(Value& value, std::string_view what);
    // A null is consumed and answers true; anything else is left unread.
    bool skipNull(Value& value);
    // Reads the value whole, checking it, and drops it.
    void skipValue(Value& value);

    // Calls onKey(key, value) for each member in order; onKey must consume the value.
    template <class OnKey> void readObject(Value& value, std::string_view what, OnKey&& onKey) {
        simdjson::ondemand::object object;
        enter(value, simdjson::ondemand::json_type::object, what, "an object");
        check(value.get_object().get(object));
        for (auto member : object) {
            simdjson::ondemand::field field;
            check(std::move(member).get(field));
            std::string_view key;
            check(field.unescaped_key().get(key));
            onKey(key, field.value());
        }
        --depth_;
    }
    // Calls onElement(index, value) for each element; onElement must consume it.
    template <class OnElement>
    void readArray(Value& value, std::string_view what, OnElement&& onElement) {
        simdjson::ondemand::array array;
        enter(value, simdjson::ondemand::json_type::array, what, "an array");
        check(value.get_array().get(array));
        std::size_t index = 0;
        for (auto element : array) {
            Value item;
            check(std::move(element).get(item));
            onElement(index++, item);
        }
        --depth_;
    }

private:
    void check(simdjson::error_code error);
    [[noreturn]] void syntaxError(std::string_view problem);
    void enter(Value& value, simdjson::ondemand::json_type type, std::string_view what,
               std::string_view expected);
    [[noreturn]] void numberError(Value& value, simdjson::error_code error, std::string_view what,
                                  std::string_view outOfRange);

    // The parser and the padded copy of the text: the thread's own, kept from one read to
    // the next because allocating them afresh costs more than parsing a large log; or this
    // reader's own while another reader on the thread holds the thread's.
    struct Scratch;
    // Holds a scratch for as long as the reader lives, also when it refuses the text.
    struct Claim {
        Claim();
        ~Claim();
        Claim(const Claim&) = delete;
        Claim& operator=(const Claim&) = delete;
        std::unique_ptr<Scratch> own;
        Scratch* scratch;
    };
    Claim claim_;
    simdjson::padded_string_view text_;
    simdjson::ondemand::document document_;
    std::size_t skipped_ = 0; // a byte order mark, still counted in offsets
    int depth_ = 0;
    int maxDepth_;
};

} // namespace korvalume::jsonread
