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

} // namespace

// ---- Writing ----

bool appendString(std::string& out, std::string_view text) {
    static constexpr char hex[] = "0123456789abcdef";
    out += '"';
    std::size_t i = 0;
    while (i < text.size()) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x80) {
            const std::size_t length = utf8SequenceLength(text, i);
            if (length == 0)
                return false;
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
    return true;
}

bool appendDouble(std::string& out, double value) {
    if (!std::isfinite(value))
        return false;
    char buffer[400];
    const double magnitude = std::fabs(value);
    const bool plain = value == 0 || (magnitude >= 1e-6 && magnitude < 1e21);
    const auto result =
        plain ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed)
              : std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
    return true;
}

void appendInt(std::string& out, std::int64_t value) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

// ---- Writer ----

void Writer::beforeValue() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (!filled_.empty()) {
        if (filled_.back())
            out_ += ',';
        filled_.back() = true;
    }
}

void Writer::fail(std::string_view what, std::string_view problem) {
    if (error_)
        return;
    const std::string value = "\"" + std::string(what) + "\" " + std::string(problem);
    error_ = place_.empty() ? value : place_ + ": " + value;
}

Writer& Writer::beginObject() {
    beforeValue();
    out_ += '{';
    filled_.push_back(false);
    return *this;
}

Writer& Writer::endObject() {
    out_ += '}';
    filled_.pop_back();
    return *this;
}

Writer& Writer::beginArray() {
    beforeValue();
    out_ += '[';
    filled_.push_back(false);
    return *this;
}

Writer& Writer::endArray() {
    out_ += ']';
    filled_.pop_back();
    return *this;
}

Writer& Writer::key(std::string_view name) {
    beforeValue();
    if (!appendString(out_, name))
        fail(name, "is not valid UTF-8 text");
    out_ += ':';
    afterKey_ = true;
    return *this;
}

Writer& Writer::string(std::string_view text, std::string_view what) {
    beforeValue();
    if (!appendString(out_, text))
        fail(what, "is not valid UTF-8 text");
    return *this;
}

Writer& Writer::number(double value, std::string_view what) {
    beforeValue();
    if (!appendDouble(out_, value))
        fail(what, "is not a finite number");
    return *this;
}

Writer& Writer::integer(std::int64_t value) {
    beforeValue();
    appendInt(out_, value);
    return *this;
}

Writer& Writer::boolean(bool value) {
    beforeValue();
    out_ += value ? "true" : "false";
    return *this;
}

Writer& Writer::null() {
    beforeValue();
    out_ += "null";
    return *this;
}

Writer& Writer::json(std::string_view encoded) {
    beforeValue();
    out_ += encoded;
    return *this;
}

} // namespace korvalume::jsontext
