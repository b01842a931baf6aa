#include "session/json_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace korvalume::jsontext {

namespace {

// Length of the UTF-8 sequence starting at text[i], or 0 when it is not valid
// (overlong forms, surrogates and values beyond U+10FFFF included).
std::size_t utf8SequenceLength(std::string_view text, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    if (lead < 0x80)
        return 1;
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0)
            low = 0xA0;
        else if (lead == 0xED)
            high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0)
            low = 0x90;
        else if (lead == 0xF4)
            high = 0x8F;
    } else {
        return 0;
    }
    if (i + length > text.size())
        return 0;
    if (byte(i + 1) < low || byte(i + 1) > high)
        return 0;
    for (std::size_t k = 2; k < length; ++k)
        if (byte(i + k) < 0x80 || byte(i + k) > 0xBF)
            return 0;
    return length;
}

void appendUtf8(std::string& out, std::uint32_t codePoint) {
    if (codePoint < 0x80) {
        out += char(codePoint);
    } else if (codePoint < 0x800) {
        out += char(0xC0 | (codePoint >> 6));
        out += char(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        out += char(0xE0 | (codePoint >> 12));
        out += char(0x80 | ((codePoint >> 6) & 0x3F));
        out += char(0x80 | (codePoint & 0x3F));
    } else {
        out += char(0xF0 | (codePoint >> 18));
        out += char(0x80 | ((codePoint >> 12) & 0x3F));
        out += char(0x80 | ((codePoint >> 6) & 0x3F));
        out += char(0x80 | (codePoint & 0x3F));
    }
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string quoted(std::string_view what) {
    return "\"" + std::string(what) + "\"";
}

} // namespace

long long decimalExponent(std::string_view token) {
    std::size_t i = token.front() == '-' ? 1 : 0;
    long long position = 0; // of the first significant digit, relative to the point
    bool significant = false;
    for (; i < token.size() && isDigit(token[i]); ++i) {
        significant = significant || token[i] != '0';
        if (significant)
            ++position;
    }
    if (i < token.size() && token[i] == '.') {
        for (++i; i < token.size() && isDigit(token[i]) && !significant; ++i) {
            if (token[i] != '0')
                significant = true;
            else
                --position;
        }
        while (i < token.size() && isDigit(token[i]))
            ++i;
    }
    long long exponent = 0;
    if (i < token.size() && (token[i] == 'e' || token[i] == 'E')) {
        ++i;
        const bool negative = i < token.size() && token[i] == '-';
        if (i < token.size() && (token[i] == '-' || token[i] == '+'))
            ++i;
        // Saturated: only the sign of the total matters to callers.
        for (; i < token.size() && isDigit(token[i]); ++i)
            exponent = std::min(exponent * 10 + (token[i] - '0'), 1'000'000'000'000LL);
        if (negative)
            exponent = -exponent;
    }
    return position + exponent;
}

bool isValidUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = utf8SequenceLength(text, i);
        if (length == 0)
            return false;
        i += length;
    }
    return true;
}

int nestingDepth(std::string_view json, int limit) {
    int depth = 0;
    int deepest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            deepest = std::max(deepest, ++depth);
            if (deepest > limit)
                return deepest;
        } else if ((c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
    return deepest;
}

// ---- Writing ----

void appendString(std::string& out, std::string_view text, std::string_view what) {
    static constexpr char hex[] = "0123456789abcdef";
    out += '"';
    std::size_t i = 0;
    while (i < text.size()) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x80) {
            const std::size_t length = utf8SequenceLength(text, i);
            if (length == 0)
                throw JsonTextError(quoted(what) + " is not valid UTF-8 text");
            out.append(text.substr(i, length));
            i += length;
            continue;
        }
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (c < 0x20) {
                out += "\\u00";
                out += hex[c >> 4];
                out += hex[c & 0xF];
            } else {
                out += char(c);
            }
        }
        ++i;
    }
    out += '"';
}

void appendDouble(std::string& out, double value, std::string_view what) {
    if (!std::isfinite(value))
        throw JsonTextError(quoted(what) + " is not a finite number");
    char buffer[400];
    const double magnitude = std::fabs(value);
    const bool plain = value == 0 || (magnitude >= 1e-6 && magnitude < 1e21);
    const auto result =
        plain ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed)
              : std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

void appendInt(std::string& out, std::int64_t value) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

// ---- Reading ----

JsonReader::JsonReader(std::string_view text) : text_(text) {
    // A UTF-8 byte order mark is tolerated, as common JSON readers do.
    if (text_.substr(0, 3) == "\xEF\xBB\xBF")
        pos_ = 3;
}

void JsonReader::skipWhitespace() {
    while (pos_ < text_.size()) {
        const char c = text_[pos_];
        if (c != ' ' && c != '\n' && c != '\r' && c != '\t')
            return;
        ++pos_;
    }
}

void JsonReader::syntaxError(std::string_view problem) const {
    throw JsonSyntaxError("malformed JSON at byte " + std::to_string(pos_) + ": " +
                          std::string(problem));
}

void JsonReader::typeError(std::string_view what, std::string_view expected) const {
    // Callers have skipped whitespace; no value at all here is a syntax error.
    if (pos_ >= text_.size())
        syntaxError("unexpected end");
    const char c = text_[pos_];
    if (c != '{' && c != '[' && c != '"' && c != 't' && c != 'f' && c != 'n' && c != '-' &&
        !isDigit(c))
        syntaxError("unexpected character");
    throw JsonTextError(quoted(what) + " is not " + std::string(expected));
}

ValueType JsonReader::peekType() {
    skipWhitespace();
    if (pos_ >= text_.size())
        return ValueType::invalid;
    switch (text_[pos_]) {
    case '{':
        return ValueType::object;
    case '[':
        return ValueType::array;
    case '"':
        return ValueType::string;
    case 't':
    case 'f':
        return ValueType::boolean;
    case 'n':
        return ValueType::null;
    default:
        return text_[pos_] == '-' || isDigit(text_[pos_]) ? ValueType::number : ValueType::invalid;
    }
}

void JsonReader::expectLiteral(std::string_view literal) {
    if (text_.substr(pos_, literal.size()) != literal)
        syntaxError("unknown literal");
    pos_ += literal.size();
}

bool JsonReader::skipNull() {
    if (peekType() != ValueType::null)
        return false;
    expectLiteral("null");
    return true;
}

void JsonReader::readStringBody(std::string& out) {
    // pos_ is at the opening quote.
    ++pos_;
    while (true) {
        // Copy the plain run in one go.
        const std::size_t runStart = pos_;
        while (pos_ < text_.size()) {
            const auto c = static_cast<unsigned char>(text_[pos_]);
            if (c == '"' || c == '\\' || c < 0x20 || c >= 0x80)
                break;
            ++pos_;
        }
        out.append(text_.substr(runStart, pos_ - runStart));
        if (pos_ >= text_.size())
            syntaxError("unterminated string");
        const auto c = static_cast<unsigned char>(text_[pos_]);
        if (c == '"') {
            ++pos_;
            return;
        }
        if (c < 0x20)
            syntaxError("control character in a string");
        if (c >= 0x80) {
            const std::size_t length = utf8SequenceLength(text_, pos_);
            if (length == 0)
                syntaxError("invalid UTF-8 in a string");
            out.append(text_.substr(pos_, length));
            pos_ += length;
            continue;
        }
        // A backslash escape.
        if (pos_ + 1 >= text_.size())
            syntaxError("unterminated string");
        const char escape = text_[pos_ + 1];
        pos_ += 2;
        switch (escape) {
        case '"':
            out += '"';
            break;
        case '\\':
            out += '\\';
            break;
        case '/':
            out += '/';
            break;
        case 'b':
            out += '\b';
            break;
        case 'f':
            out += '\f';
            break;
        case 'n':
            out += '\n';
            break;
        case 'r':
            out += '\r';
            break;
        case 't':
            out += '\t';
            break;
        case 'u': {
            const auto readHex4 = [&]() -> std::uint32_t {
                if (pos_ + 4 > text_.size())
                    syntaxError("short \\u escape");
                std::uint32_t value = 0;
                for (int k = 0; k < 4; ++k) {
                    const int digit = hexValue(text_[pos_ + std::size_t(k)]);
                    if (digit < 0)
                        syntaxError("bad \\u escape");
                    value = value << 4 | std::uint32_t(digit);
                }
                pos_ += 4;
                return value;
            };
            std::uint32_t codePoint = readHex4();
            if (codePoint >= 0xDC00 && codePoint <= 0xDFFF)
                syntaxError("lone low surrogate");
            if (codePoint >= 0xD800 && codePoint <= 0xDBFF) {
                if (text_.substr(pos_, 2) != "\\u")
                    syntaxError("lone high surrogate");
                pos_ += 2;
                const std::uint32_t low = readHex4();
                if (low < 0xDC00 || low > 0xDFFF)
                    syntaxError("lone high surrogate");
                codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
            }
            appendUtf8(out, codePoint);
            break;
        }
        default:
            syntaxError("unknown escape in a string");
        }
    }
}

std::string JsonReader::readString(std::string_view what) {
    if (peekType() != ValueType::string)
        typeError(what, "a string");
    std::string out;
    readStringBody(out);
    return out;
}

std::string_view JsonReader::readKey() {
    skipWhitespace();
    if (pos_ >= text_.size() || text_[pos_] != '"')
        syntaxError("expected a key");
    // Keys without escapes are viewed in place.
    const std::size_t start = pos_ + 1;
    std::size_t end = start;
    while (end < text_.size()) {
        const auto c = static_cast<unsigned char>(text_[end]);
        if (c == '"' || c == '\\' || c < 0x20 || c >= 0x80)
            break;
        ++end;
    }
    std::string_view key;
    if (end < text_.size() && text_[end] == '"') {
        key = text_.substr(start, end - start);
        pos_ = end + 1;
    } else {
        keyBuffer_.clear();
        readStringBody(keyBuffer_);
        key = keyBuffer_;
    }
    skipWhitespace();
    if (pos_ >= text_.size() || text_[pos_] != ':')
        syntaxError("expected ':' after a key");
    ++pos_;
    return key;
}

std::string_view JsonReader::numberToken(bool& integral) {
    const std::size_t start = pos_;
    integral = true;
    if (pos_ < text_.size() && text_[pos_] == '-')
        ++pos_;
    if (pos_ >= text_.size() || !isDigit(text_[pos_]))
        syntaxError("bad number");
    if (text_[pos_] == '0') {
        ++pos_;
    } else {
        while (pos_ < text_.size() && isDigit(text_[pos_]))
            ++pos_;
    }
    if (pos_ < text_.size() && text_[pos_] == '.') {
        integral = false;
        ++pos_;
        if (pos_ >= text_.size() || !isDigit(text_[pos_]))
            syntaxError("bad number");
        while (pos_ < text_.size() && isDigit(text_[pos_]))
            ++pos_;
    }
    if (pos_ < text_.size() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
        integral = false;
        ++pos_;
        if (pos_ < text_.size() && (text_[pos_] == '+' || text_[pos_] == '-'))
            ++pos_;
        if (pos_ >= text_.size() || !isDigit(text_[pos_]))
            syntaxError("bad number");
        while (pos_ < text_.size() && isDigit(text_[pos_]))
            ++pos_;
    }
    return text_.substr(start, pos_ - start);
}

double JsonReader::numberValue(std::string_view token, std::string_view what) const {
    double value = 0;
    const auto result = std::from_chars(token.data(), token.data() + token.size(), value);
    if (result.ec == std::errc())
        return value;
    // Out of range: too small a magnitude rounds to zero, as JSON readers commonly
    // do; too large has no double and is refused.
    if (decimalExponent(token) < 0)
        return token.front() == '-' ? -0.0 : 0.0;
    throw JsonTextError(quoted(what) + " is out of the range of a double");
}

double JsonReader::readDouble(std::string_view what) {
    if (peekType() != ValueType::number)
        typeError(what, "a number");
    bool integral = false;
    return numberValue(numberToken(integral), what);
}

std::int64_t JsonReader::readInt(std::string_view what) {
    if (peekType() != ValueType::number)
        typeError(what, "a number");
    bool integral = false;
    const std::string_view token = numberToken(integral);
    const char* end = token.data() + token.size();
    if (integral) {
        std::int64_t value = 0;
        const auto result = std::from_chars(token.data(), end, value);
        if (result.ec != std::errc() || result.ptr != end)
            throw JsonTextError(quoted(what) + " does not fit a 64-bit integer");
        return value;
    }
    double value = 0;
    const auto result = std::from_chars(token.data(), end, value);
    if (result.ec != std::errc() || std::trunc(value) != value || value < -9223372036854775808.0 ||
        value >= 9223372036854775808.0)
        throw JsonTextError(quoted(what) + " is not a whole 64-bit number");
    return static_cast<std::int64_t>(value);
}

bool JsonReader::readBool(std::string_view what) {
    if (peekType() != ValueType::boolean)
        typeError(what, "true or false");
    if (text_[pos_] == 't') {
        expectLiteral("true");
        return true;
    }
    expectLiteral("false");
    return false;
}

void JsonReader::beginObject(std::string_view what) {
    if (peekType() != ValueType::object)
        typeError(what, "an object");
    if (++depth_ > maxDepth)
        syntaxError("nested too deeply");
    ++pos_;
}

void JsonReader::beginArray(std::string_view what) {
    if (peekType() != ValueType::array)
        typeError(what, "an array");
    if (++depth_ > maxDepth)
        syntaxError("nested too deeply");
    ++pos_;
}

bool JsonReader::endOfContainer(char close) {
    skipWhitespace();
    if (pos_ < text_.size() && text_[pos_] == close) {
        ++pos_;
        --depth_;
        return true;
    }
    return false;
}

bool JsonReader::nextMember(char close) {
    skipWhitespace();
    if (pos_ >= text_.size())
        syntaxError(close == '}' ? "unterminated object" : "unterminated array");
    if (text_[pos_] == ',') {
        ++pos_;
        return true;
    }
    if (text_[pos_] == close) {
        ++pos_;
        --depth_;
        return false;
    }
    syntaxError(close == '}' ? "expected ',' or '}'" : "expected ',' or ']'");
}

void JsonReader::skipValue() {
    switch (peekType()) {
    case ValueType::object:
        readObject("value", [&](std::string_view) { skipValue(); });
        break;
    case ValueType::array:
        readArray("value", [&](std::size_t) { skipValue(); });
        break;
    case ValueType::string: {
        std::string ignored;
        readStringBody(ignored);
        break;
    }
    case ValueType::number: {
        bool integral = false;
        numberValue(numberToken(integral), "value");
        break;
    }
    case ValueType::boolean:
        readBool("value");
        break;
    case ValueType::null:
        expectLiteral("null");
        break;
    case ValueType::invalid:
        syntaxError(pos_ >= text_.size() ? "unexpected end" : "unexpected character");
    }
}

void JsonReader::expectEnd() {
    skipWhitespace();
    if (pos_ != text_.size())
        syntaxError("unexpected text after the end");
}

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace korvalume::jsontext
