#include "live/peer_frame_reader.h"

#include "live/peer_protocol.h"

namespace korvalume {

FrameReader::FrameReader(std::uint32_t maxLength) : maxLength_(maxLength) {}

void FrameReader::append(const QByteArray& bytes) {
    append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

void FrameReader::append(const char* data, std::size_t size) {
    if (oversized()) {
        return;
    }
    // Drop what was handed out before growing, so the buffer stays one frame long.
    if (consumed_ > 0) {
        buffer_.erase(0, consumed_);
        consumed_ = 0;
    }
    buffer_.append(data, size);
}

std::optional<std::string> FrameReader::next() {
    constexpr auto header = static_cast<std::size_t>(peerprotocol::frameHeaderLength);
    if (oversized() || buffered() < header) {
        return std::nullopt;
    }
    std::uint32_t length = 0;
    for (std::size_t i = 0; i < header; ++i) {
        length = length << 8 | static_cast<unsigned char>(buffer_[consumed_ + i]);
    }
    if (length > maxLength_) {
        oversizedLength_ = length;
        buffer_.clear();
        consumed_ = 0;
        return std::nullopt;
    }
    if (buffered() - header < length) {
        return std::nullopt;
    }
    std::string payload = buffer_.substr(consumed_ + header, length);
    consumed_ += header + length;
    return payload;
}

} // namespace korvalume
