#include "support/media_fixtures.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <cstring>
#include <map>
#include <mutex>
#include <stdexcept>

namespace korvalume::fixtures {

struct TempDir::Impl {
    QTemporaryDir dir;
    explicit Impl(const QString& pattern) : dir(pattern) {}
};

TempDir::TempDir() {
    const QByteArray base = qgetenv("KORVALUME_TEST_TMP");
    QString root = base.isEmpty() ? QDir::tempPath() : QString::fromLocal8Bit(base);
    QDir().mkpath(root);
    impl_ = std::make_unique<Impl>(root + "/korvalume-XXXXXX");
    if (!impl_->dir.isValid())
        throw std::runtime_error("cannot make a temporary folder under " + root.toStdString());
    path_ = impl_->dir.path().toStdString();
}

TempDir::~TempDir() = default;

std::string TempDir::file(std::string_view relative) const {
    const QString full =
        QDir(QString::fromStdString(path_))
            .filePath(QString::fromUtf8(relative.data(), qsizetype(relative.size())));
    QDir().mkpath(QFileInfo(full).absolutePath());
    return full.toStdString();
}

namespace {

void runFfmpeg(const QStringList& arguments) {
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg",
                 QStringList{"-nostdin", "-hide_banner", "-v", "error", "-y"} + arguments);
    if (!ffmpeg.waitForFinished(120'000) || ffmpeg.exitStatus() != QProcess::NormalExit ||
        ffmpeg.exitCode() != 0)
        throw std::runtime_error("ffmpeg " + arguments.join(' ').toStdString() +
                                 " failed: " + ffmpeg.readAllStandardError().toStdString());
}

QString number(double value) {
    return QString::number(value, 'g', 10);
}

void putLe(std::vector<std::byte>& out, std::uint64_t value, int byteCount) {
    for (int i = 0; i < byteCount; ++i)
        out.push_back(std::byte((value >> (8 * i)) & 0xFF));
}

void putId(std::vector<std::byte>& out, std::string_view id) {
    if (id.size() != 4)
        throw std::invalid_argument("a chunk id has four characters");
    for (char c : id)
        out.push_back(std::byte(c));
}

} // namespace

std::string ffmpegRate(const FrameRate& rate) {
    return rate.ntsc ? std::to_string(rate.timebase * 1000) + "/1001"
                     : std::to_string(rate.timebase);
}

std::string makeMovie(const std::string& path, const MovieSpec& spec) {
    const QString seconds = number(spec.seconds);
    QStringList arguments;
    if (spec.withVideo)
        arguments << "-f"
                  << "lavfi"
                  << "-i"
                  << QString("testsrc=size=%1x%2:rate=%3:duration=%4")
                         .arg(spec.width)
                         .arg(spec.height)
                         .arg(QString::fromStdString(ffmpegRate(spec.rate)), seconds);
    if (spec.withAudio)
        arguments << "-f"
                  << "lavfi"
                  << "-i"
                  << QString("sine=frequency=1000:sample_rate=48000:duration=%1").arg(seconds);
    if (spec.container == Container::Mxf)
        arguments << "-c:v"
                  << "mpeg2video"
                  << "-c:a"
                  << "pcm_s16le";
    else
        // H.264 as cameras write it; libavformat leaves MPEG-4 part 2 sizes to the decoder.
        arguments << "-c:v"
                  << "libx264"
                  << "-preset"
                  << "ultrafast"
                  << "-pix_fmt"
                  << "yuv420p"
                  << "-c:a"
                  << "aac";
    if (spec.container == Container::M4v)
        arguments << "-f"
                  << "mp4";
    if (spec.timecode)
        arguments << "-timecode" << QString::fromStdString(*spec.timecode);
    if (spec.creationTime)
        arguments << "-metadata"
                  << "creation_time=" + QString::fromStdString(*spec.creationTime);
    arguments << QString::fromStdString(path);
    runFfmpeg(arguments);
    return path;
}

const std::string& cachedMovie(const MovieSpec& spec) {
    static std::mutex mutex;
    static TempDir folder;
    static std::map<std::string, std::string> made;
    const std::string extensions[] = {"mov", "mp4", "m4v", "mxf"};
    const std::string extension = extensions[int(spec.container)];
    std::string key = extension + "_" + std::to_string(spec.rate.timebase) +
                      (spec.rate.ntsc ? "n" : "") + "_" + spec.timecode.value_or("none") + "_" +
                      std::to_string(spec.seconds) + "_" + std::to_string(spec.width) + "x" +
                      std::to_string(spec.height) + "_" + spec.creationTime.value_or("none") +
                      (spec.withVideo ? "" : "_novideo") + (spec.withAudio ? "_a" : "");
    for (char& c : key) {
        if (c == ':' || c == ';' || c == '+')
            c = '-';
    }
    const std::lock_guard lock(mutex);
    auto found = made.find(key);
    if (found == made.end())
        found = made.emplace(key, makeMovie(folder.file(key + "." + extension), spec)).first;
    return found->second;
}

std::string makeWave(const std::string& path, const WaveSpec& spec) {
    QStringList arguments{"-f",
                          "lavfi",
                          "-i",
                          QString("sine=frequency=440:sample_rate=%1:duration=%2")
                              .arg(spec.sampleRate)
                              .arg(number(spec.seconds)),
                          "-ac",
                          QString::number(spec.channels),
                          "-c:a",
                          "pcm_s16le"};
    if (spec.timeReference)
        arguments << "-write_bext"
                  << "1"
                  << "-metadata" << QString("time_reference=%1").arg(*spec.timeReference);
    if (spec.rf64)
        arguments << "-rf64"
                  << "always";
    arguments << "-f"
              << "wav" << QString::fromStdString(path);
    runFfmpeg(arguments);
    return path;
}

WaveBuilder::WaveBuilder(std::string_view containerId, std::string_view formType) {
    putId(bytes_, containerId);
    putLe(bytes_, 0xFFFFFFFF, 4); // the readers ignore the container size
    putId(bytes_, formType);
}

WaveBuilder& WaveBuilder::fmt(std::uint16_t channels, std::uint32_t sampleRate,
                              std::uint16_t bitsPerSample) {
    std::vector<std::byte> payload;
    const std::uint16_t blockAlign = std::uint16_t(channels * (bitsPerSample / 8));
    putLe(payload, 1, 2); // PCM
    putLe(payload, channels, 2);
    putLe(payload, sampleRate, 4);
    putLe(payload, std::uint64_t(sampleRate) * blockAlign, 4);
    putLe(payload, blockAlign, 2);
    putLe(payload, bitsPerSample, 2);
    return chunk("fmt ", payload);
}

WaveBuilder& WaveBuilder::ds64(std::uint64_t dataSize) {
    std::vector<std::byte> payload;
    putLe(payload, bytes_.size(), 8); // RIFF size: not read
    putLe(payload, dataSize, 8);
    putLe(payload, 0, 8); // sample count
    putLe(payload, 0, 4); // table length
    return chunk("ds64", payload);
}

WaveBuilder& WaveBuilder::bext(std::uint64_t timeReference) {
    std::vector<std::byte> payload(602);
    const char description[] = "Scene 4 take 2";
    std::memcpy(payload.data(), description, sizeof description - 1);
    for (int i = 0; i < 8; ++i)
        payload[338 + i] = std::byte((timeReference >> (8 * i)) & 0xFF);
    payload[346] = std::byte(1); // version
    return chunk("bext", payload);
}

WaveBuilder& WaveBuilder::data(std::uint32_t declaredSize, std::size_t payloadBytes) {
    return rawChunk("data", declaredSize, std::vector<std::byte>(payloadBytes));
}

WaveBuilder& WaveBuilder::chunk(std::string_view id, const std::vector<std::byte>& payload) {
    rawChunk(id, std::uint32_t(payload.size()), payload);
    if (payload.size() % 2 == 1)
        bytes_.push_back(std::byte(0));
    return *this;
}

WaveBuilder& WaveBuilder::rawChunk(std::string_view id, std::uint32_t declaredSize,
                                   const std::vector<std::byte>& payload) {
    putId(bytes_, id);
    putLe(bytes_, declaredSize, 4);
    bytes_.insert(bytes_.end(), payload.begin(), payload.end());
    return *this;
}

std::string WaveBuilder::write(const std::string& path) const {
    writeFile(path, bytes_);
    return path;
}

std::string sonySidecarXml(const SonySidecarSpec& spec) {
    // The layout of an FX-series camera's NonRealTimeMeta file, trimmed of
    // nothing that matters to a parser: namespace, change tables, KLV packets.
    std::string xml = R"(<?xml version="1.0" encoding="UTF-8"?>
<NonRealTimeMeta xmlns="urn:schemas-professionalDisc:nonRealTimeMeta:ver.2.20" xmlns:lib="urn:schemas-professionalDisc:lib:ver.2.00" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" lastUpdate="2024-05-01T12:00:00+02:00">
	<TargetMaterial umidRef="060A2B340101010501010D43130000006C11A2D0471105C70800460203B2A4C2"/>
	<Duration value="@DURATION@"/>
	<LtcChangeTable tcFps="@TCFPS@" halfStep="false">
		<LtcChange frameCount="0" value="@LTC@" status="increment"/>
		<LtcChange frameCount="@LAST@" value="24051110" status="end"/>
	</LtcChangeTable>
	<CreationDate value="@CREATED@"/>
	<KlvPacketTable>
		<KlvPacket key="060E2B34010101050301020A02000000" frameCount="0" lengthValue="0D4B4C4E" status="spot"/>
	</KlvPacketTable>
	<VideoFormat>
		<VideoRecPort port="DIRECT"/>
		<VideoFrame videoCodec="AVC_3840_2160_HP@L51" captureFps="@CAPTURE@" formatFps="@FORMAT@"/>
		<VideoLayout pixel="@WIDTH@" numOfVerticalLine="@HEIGHT@" aspectRatio="16:9"/>
	</VideoFormat>
	<AudioFormat numOfChannel="@CHANNELS@">
		<AudioRecPort port="DIRECT" audioCodec="LPCM24" trackDst="CH1"/>
		<AudioRecPort port="DIRECT" audioCodec="LPCM24" trackDst="CH2"/>
	</AudioFormat>
	<Device manufacturer="Sony" modelName="@MODEL@" serialNo="@SERIAL@"/>
	<RecordingMode type="normal" cacheRec="false"/>
	<AcquisitionRecord>
		<Group name="CameraUnitMetadataSet">
			<Item name="CaptureGammaEquation" value="s-log3-cine"/>
			<Item name="CaptureColorPrimaries" value="S-Gamut3Cine"/>
		</Group>
		<ChangeTable name="ImagerControlInformation">
			<Event status="start" frameCount="0"/>
		</ChangeTable>
	</AcquisitionRecord>
</NonRealTimeMeta>
)";
    const std::pair<std::string, std::string> fields[] = {
        {"@DURATION@", std::to_string(spec.durationFrames)},
        {"@LAST@", std::to_string(spec.durationFrames > 0 ? spec.durationFrames - 1 : 0)},
        {"@TCFPS@", spec.tcFps},
        {"@LTC@", spec.firstLtc},
        {"@CREATED@", spec.creationDate},
        {"@CAPTURE@", spec.captureFps},
        {"@FORMAT@", spec.formatFps},
        {"@WIDTH@", std::to_string(spec.width)},
        {"@HEIGHT@", std::to_string(spec.height)},
        {"@CHANNELS@", std::to_string(spec.channels)},
        {"@MODEL@", spec.model},
        {"@SERIAL@", spec.serial},
    };
    for (const auto& [marker, value] : fields) {
        const auto at = xml.find(marker);
        xml.replace(at, marker.size(), value);
    }
    return xml;
}

std::string writeSonySidecar(const std::string& clipPath, const SonySidecarSpec& spec,
                             std::string_view suffix) {
    const QFileInfo clip(QString::fromStdString(clipPath));
    const std::string path =
        clip.dir()
            .filePath(clip.completeBaseName() +
                      QString::fromUtf8(suffix.data(), qsizetype(suffix.size())))
            .toStdString();
    writeFile(path, sonySidecarXml(spec));
    return path;
}

void writeFile(const std::string& path, std::string_view contents) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(contents.data(), qint64(contents.size())) != qint64(contents.size()))
        throw std::runtime_error("cannot write " + path);
}

void writeFile(const std::string& path, const std::vector<std::byte>& contents) {
    writeFile(path,
              std::string_view(reinterpret_cast<const char*>(contents.data()), contents.size()));
}

std::vector<std::byte> readFile(const std::string& path) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("cannot read " + path);
    const QByteArray bytes = file.readAll();
    const auto* begin = reinterpret_cast<const std::byte*>(bytes.constData());
    return {begin, begin + bytes.size()};
}

} // namespace korvalume::fixtures
