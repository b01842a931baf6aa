#include "media/sony_clip_meta.h"

#include "media/date_text.h"

#include "base/file_path.h"

#include <QXmlStreamReader>

#include <charconv>
#include <cstdint>
#include <filesystem>

namespace korvalume::sonyclipmeta {

namespace {

// Strict decimal integer: optional sign and digits only, as the camera writes them.
std::optional<std::int64_t> decimal(QStringView text) {
    const QByteArray bytes = text.toUtf8();
    const char* begin = bytes.constData();
    const char* end = begin + bytes.size();
    if (begin != end && *begin == '+' && begin + 1 != end && begin[1] != '-')
        ++begin;
    std::int64_t value = 0;
    const auto [stop, error] = std::from_chars(begin, end, value);
    if (begin == end || error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

void setIfDecimal(std::int64_t& field, QStringView text) {
    if (const auto value = decimal(text))
        field = *value;
}

// A missing attribute reads as empty text.
QStringView attribute(const QXmlStreamAttributes& attributes, const char* name) {
    return attributes.value(QLatin1String(name));
}

void collect(Fields& fields, QStringView element, const QXmlStreamAttributes& attributes) {
    if (element == u"Duration") {
        setIfDecimal(fields.durationFrames, attribute(attributes, "value"));
    } else if (element == u"LtcChangeTable") {
        setIfDecimal(fields.tcBase, attribute(attributes, "tcFps"));
    } else if (element == u"LtcChange") {
        if (!fields.firstLTC && attribute(attributes, "frameCount") == u"0")
            fields.firstLTC = attribute(attributes, "value").toString().toStdString();
    } else if (element == u"CreationDate") {
        fields.created =
            datetext::internetDateTime(attribute(attributes, "value").toString().toStdString());
    } else if (element == u"VideoFrame") {
        fields.captureFps = attribute(attributes, "captureFps").toString().toStdString();
        fields.formatFps = attribute(attributes, "formatFps").toString().toStdString();
    } else if (element == u"VideoLayout") {
        setIfDecimal(fields.width, attribute(attributes, "pixel"));
        setIfDecimal(fields.height, attribute(attributes, "numOfVerticalLine"));
    } else if (element == u"AudioFormat") {
        setIfDecimal(fields.channels, attribute(attributes, "numOfChannel"));
    } else if (element == u"Device") {
        fields.model = attribute(attributes, "modelName").toString().toStdString();
        fields.serial = attribute(attributes, "serialNo").toString().toStdString();
    }
}

// The camera's value for a serial number that was never set.
constexpr std::string_view unsetSerial = "4294967295";

} // namespace

std::optional<std::string> sidecar(const std::string& clipPath) {
    const std::filesystem::path clip = filepath::toNative(clipPath);
    for (const char* suffix : {"M01.XML", "M01.xml"}) {
        std::filesystem::path name = clip.stem();
        name += suffix;
        const std::filesystem::path candidate = clip.parent_path() / name;
        std::error_code error;
        if (std::filesystem::is_regular_file(candidate, error))
            return filepath::fromNative(candidate);
    }
    return std::nullopt;
}

std::optional<Fields> parse(std::string_view xml) {
    QXmlStreamReader reader(QByteArray::fromRawData(xml.data(), qsizetype(xml.size())));
    Fields fields;
    while (!reader.atEnd()) {
        // Names compare as written, prefix included: the cameras use a default namespace.
        if (reader.readNext() == QXmlStreamReader::StartElement)
            collect(fields, reader.qualifiedName(), reader.attributes());
    }
    if (reader.hasError())
        return std::nullopt;
    return fields;
}

std::optional<ClipFile> clipFrom(const Fields& fields, const std::string& clipPath) {
    if (fields.durationFrames <= 0)
        return std::nullopt;
    std::optional<FrameRate> rate = FrameRate::sony(fields.formatFps);
    if (!rate) {
        if (fields.tcBase < 1)
            return std::nullopt;
        rate = FrameRate{fields.tcBase, false};
    }
    ClipFile clip;
    clip.path = clipPath;
    clip.frames = fields.durationFrames;
    clip.duration = double(fields.durationFrames) / rate->fps();
    clip.rate = rate;
    if (fields.firstLTC)
        clip.startTC = timecode(*fields.firstLTC);
    clip.created = fields.created;
    clip.model = fields.model;
    clip.serial = fields.serial == unsetSerial ? std::string() : fields.serial;
    if (fields.width > 0) {
        clip.width = fields.width;
        clip.height = fields.height;
    }
    if (fields.channels > 0)
        clip.audioChannels = fields.channels;
    clip.slowMotion = !fields.captureFps.empty() && fields.captureFps != fields.formatFps;
    return clip;
}

std::optional<ClipFile> read(const std::string& clipPath, std::string_view xml) {
    const auto fields = parse(xml);
    if (!fields)
        return std::nullopt;
    return clipFrom(*fields, clipPath);
}

std::optional<Timecode> timecode(std::string_view ltc) {
    if (ltc.size() != 8)
        return std::nullopt;
    std::uint32_t value = 0;
    const auto [stop, error] = std::from_chars(ltc.data(), ltc.data() + ltc.size(), value, 16);
    if (error != std::errc() || stop != ltc.data() + ltc.size())
        return std::nullopt;
    const auto byteAt = [value](int index) { return (value >> (8 * index)) & 0xFF; };
    const auto bcd = [](std::uint32_t byte, std::uint32_t tensMask) {
        return std::int64_t(((byte >> 4) & tensMask) * 10 + (byte & 0x0F));
    };
    const std::uint32_t frames = byteAt(3);
    return Timecode{bcd(byteAt(0), 0x3), bcd(byteAt(1), 0x7), bcd(byteAt(2), 0x7), bcd(frames, 0x3),
                    (frames & 0x40) != 0};
}

} // namespace korvalume::sonyclipmeta
