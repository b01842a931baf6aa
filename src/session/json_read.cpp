#include "session/json_read.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <system_error>

namespace korvalume::jsonread {

namespace {

using jsontext::JsonTextError;
using simdjson::ondemand::json_type;

std::string quoted(std::string_view what) {
    return "\"" + std::string(what) + "\"";
}

// What is wrong with text simdjson refuses.
std::string_view reason(simdjson::error_code error) {
    switch (error) {
    case simdjson::EMPTY:
    case simdjson::INCOMPLETE_ARRAY_OR_OBJECT:
        return "unexpected end";
    case simdjson::UTF8_ERROR:
        return "invalid UTF-8";
    case simdjson::UNESCAPED_CHARS:
        return "control character in a string";
    case simdjson::UNCLOSED_STRING:
        return "unterminated string";
    case simdjson::STRING_ERROR:
        return "bad string or escape";
    case simdjson::NUMBER_ERROR:
        return "bad number";
    case simdjson::T_ATOM_ERROR:
    case simdjson::F_ATOM_ERROR:
    case simdjson::N_ATOM_ERROR:
    case simdjson::INCORRECT_TYPE:
        return "unknown literal";
    case simdjson::DEPTH_ERROR:
        return "nested too deeply";
    default:
        return "unexpected character";
    }
}

std::string_view trimmed(std::string_view token) {
    while (!token.empty() && (token.back() == ' ' || token.back() == '\n' || token.back() == '\r' ||
                              token.back() == '\t'))
        token.remove_suffix(1);
    return token;
}

} // namespace

struct Reader::Scratch {
    simdjson::ondemand::parser parser;
    std::unique_ptr<char[]> buffer;
    std::size_t capacity = 0;
    bool inUse = false;

    simdjson::padded_string_view hold(std::string_view text) {
        const std::size_t needed = text.size() + simdjson::SIMDJSON_PADDING;
        if (capacity < needed) {
            buffer = std::make_unique_for_overwrite<char[]>(needed);
            capacity = needed;
        }
        std::memcpy(buffer.get(), text.data(), text.size());
        std::memset(buffer.get() + text.size(), 0, simdjson::SIMDJSON_PADDING);
        return simdjson::padded_string_view(buffer.get(), text.size(), capacity);
    }
};

Reader::Claim::Claim() {
    thread_local Scratch shared;
    if (shared.inUse)
        own = std::make_unique<Scratch>();
    scratch = own ? own.get() : &shared;
    scratch->inUse = true;
}

Reader::Claim::~Claim() {
    scratch->inUse = false;
}

Reader::Reader(std::string_view text, int maxDepth) : maxDepth_(maxDepth) {
    // A UTF-8 byte order mark is tolerated, as common JSON readers do.
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
        skipped_ = 3;
    }
    text_ = claim_.scratch->hold(text);
    if (const auto error = claim_.scratch->parser.iterate(text_).get(document_)) {
        if (error == simdjson::MEMALLOC)
            throw std::bad_alloc();
        // These two are found at the end of the text; the rest have no place.
        if (error == simdjson::EMPTY || error == simdjson::UNCLOSED_STRING)
            throw JsonSyntaxError("malformed JSON at byte " +
                                  std::to_string(skipped_ + text.size()) + ": " +
                                  std::string(reason(error)));
        throw JsonSyntaxError("malformed JSON: " + std::string(reason(error)));
    }
}

void Reader::syntaxError(std::string_view problem) {
    const char* at = nullptr;
    if (document_.current_location().get(at) == simdjson::SUCCESS)
        throw JsonSyntaxError("malformed JSON at byte " +
                              std::to_string(skipped_ + std::size_t(at - text_.data())) + ": " +
                              std::string(problem));
    // Past the last token: the text stops short.
    throw JsonSyntaxError("malformed JSON at byte " + std::to_string(skipped_ + text_.size()) +
                          ": unexpected end");
}

void Reader::check(simdjson::error_code error) {
    if (error == simdjson::MEMALLOC)
        throw std::bad_alloc();
    if (error != simdjson::SUCCESS)
        syntaxError(reason(error));
}

Value Reader::root(json_type type, std::string_view what) {
    json_type found{};
    check(document_.type().get(found));
    if (found != type)
        throw JsonTextError(quoted(what) + " is not " +
                            (type == json_type::object ? "an object" : "an array"));
    Value value;
    check(document_.get_value().get(value));
    return value;
}

void Reader::expectEnd() {
    const char* at = nullptr;
    // Past the last token, simdjson has no location to give.
    if (document_.current_location().get(at) == simdjson::SUCCESS)
        syntaxError("unexpected text after the end");
}

json_type Reader::typeOf(Value& value) {
    json_type type{};
    check(value.type().get(type));
    return type;
}

void Reader::enter(Value& value, json_type type, std::string_view what, std::string_view expected) {
    if (typeOf(value) != type)
        throw JsonTextError(quoted(what) + " is not " + std::string(expected));
    if (++depth_ > maxDepth_)
        syntaxError("nested too deeply");
}

std::string_view Reader::readString(Value& value, std::string_view what) {
    if (typeOf(value) != json_type::string)
        throw JsonTextError(quoted(what) + " is not a string");
    std::string_view text;
    check(value.get_string().get(text));
    return text;
}

void Reader::numberError(Value& value, simdjson::error_code error, std::string_view what,
                         std::string_view outOfRange) {
    // simdjson reads too small a magnitude as zero, keeping its sign, and refuses
    // too large a one, as it refuses a malformed number.
    if (error == simdjson::NUMBER_ERROR) {
        const std::string_view token = trimmed(value.raw_json_token());
        double ignored = 0;
        const auto result = std::from_chars(token.data(), token.data() + token.size(), ignored);
        if (result.ec == std::errc::result_out_of_range &&
            result.ptr == token.data() + token.size())
            throw NumberRangeError(quoted(what) + " " + std::string(outOfRange));
    }
    check(error);
    syntaxError("bad number");
}

double Reader::readDouble(Value& value, std::string_view what) {
    if (typeOf(value) != json_type::number)
        throw JsonTextError(quoted(what) + " is not a number");
    double number = 0;
    if (const auto error = value.get_double().get(number))
        numberError(value, error, what, "is out of the range of a double");
    return number;
}

std::int64_t Reader::readInt(Value& value, std::string_view what) {
    if (typeOf(value) != json_type::number)
        throw JsonTextError(quoted(what) + " is not a number");
    std::int64_t integer = 0;
    if (value.get_int64().get(integer) == simdjson::SUCCESS)
        return integer;
    double number = 0;
    if (const auto error = value.get_double().get(number))
        numberError(value, error, what, "is not a whole 64-bit number");
    if (trimmed(value.raw_json_token()).find_first_of(".eE") == std::string_view::npos)
        throw JsonTextError(quoted(what) + " does not fit a 64-bit integer");
    if (std::trunc(number) != number || number < -9223372036854775808.0 ||
        number >= 9223372036854775808.0)
        throw JsonTextError(quoted(what) + " is not a whole 64-bit number");
    return static_cast<std::int64_t>(number);
}

bool Reader::readBool(Value& value, std::string_view what) {
    if (typeOf(value) != json_type::boolean)
        throw JsonTextError(quoted(what) + " is not true or false");
    bool flag = false;
    check(value.get_bool().get(flag));
    return flag;
}

bool Reader::skipNull(Value& value) {
    if (typeOf(value) != json_type::null)
        return false;
    bool isNull = false;
    check(value.is_null().get(isNull));
    if (!isNull)
        syntaxError("unknown literal");
    return true;
}

void Reader::skipValue(Value& value) {
    switch (typeOf(value)) {
    case json_type::object:
        readObject(value, "value", [&](std::string_view, Value& member) { skipValue(member); });
        break;
    case json_type::array:
        readArray(value, "value", [&](std::size_t, Value& element) { skipValue(element); });
        break;
    case json_type::string:
        readString(value, "value");
        break;
    case json_type::number:
        readDouble(value, "value");
        break;
    case json_type::boolean:
        readBool(value, "value");
        break;
    case json_type::null:
        skipNull(value);
        break;
    }
}

} // namespace korvalume::jsonread
