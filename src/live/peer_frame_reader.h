#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <string>

namespace korvalume {

// Cuts a byte stream into frames: a 4-byte big-endian length, then that many bytes.
// A length above the limit poisons the reader for good; the connection must close.
class FrameReader {
public:
    explicit FrameReader(std::uint32_t maxLength);

    // Adds bytes as they arrive.
    void append(const QByteArray& bytes);
    void append(const char* data, std::size_t size);
    // The next whole frame's payload, or nothing until more bytes arrive (or when
    // oversized()).
    std::optional<std::string> next();
    // A frame announced a length above the limit.
    bool oversized() const { return oversizedLength_.has_value(); }
    std::optional<std::uint32_t> oversizedLength() const { return oversizedLength_; }
    // Bytes held, waiting for the rest of a frame.
    std::size_t buffered() const { return buffer_.size() - consumed_; }

private:
    std::uint32_t maxLength_;
    std::string buffer_;
    std::size_t consumed_ = 0;
    std::optional<std::uint32_t> oversizedLength_;
};

} // namespace korvalume
