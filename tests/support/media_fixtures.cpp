#include "support/media_fixtures.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <deque>
#include <mutex>
#include <stdexcept>

namespace korvalume::fixtures {

namespace {

QString tempRoot() {
    const QByteArray base = qgetenv("KORVALUME_TEST_TMP");
    const QString root = base.isEmpty() ? QDir::tempPath() : QString::fromLocal8Bit(base);
    QDir().mkpath(root);
    return root;
}

void runFfmpeg(const QStringList& arguments) {
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral(KORVALUME_FFMPEG),
                 QStringList{"-nostdin", "-hide_banner", "-v", "error", "-y"} + arguments);
    if (!ffmpeg.waitForFinished(120'000) || ffmpeg.exitStatus() != QProcess::NormalExit ||
        ffmpeg.exitCode() != 0)
        throw std::runtime_error("ffmpeg " + arguments.join(' ').toStdString() +
                                 " failed: " + ffmpeg.readAllStandardError().toStdString());
}

// `out` followed by little-endian fields, each {value, byte count}.
std::vector<std::byte> le(std::initializer_list<std::pair<std::uint64_t, int>> fields,
                          std::vector<std::byte> out = {}) {
    for (const auto& [value, byteCount] : fields)
        for (int i = 0; i < byteCount; ++i)
            out.push_back(std::byte((value >> (8 * i)) & 0xFF));
    return out;
}

} // namespace

TempDir::TempDir() : dir_(tempRoot() + "/korvalume-XXXXXX"), path_(dir_.path().toStdString()) {
    if (!dir_.isValid())
        throw std::runtime_error("cannot make a temporary folder: " +
                                 dir_.errorString().toStdString());
}

std::string TempDir::file(std::string_view relative) const {
    const QString full = QDir(QString::fromStdString(path_)).filePath(QString::fromUtf8(relative));
    QDir().mkpath(QFileInfo(full).absolutePath());
    return full.toStdString();
}

std::string makeMovie(const std::string& path, const MovieSpec& recipe) {
    const QString seconds = QString::number(recipe.seconds, 'g', 10);
    const QString rate = recipe.rate.ntsc ? QString("%1/1001").arg(recipe.rate.timebase * 1000)
                                          : QString::number(recipe.rate.timebase);
    QStringList arguments;
    if (recipe.withVideo)
        arguments += {
            "-f", "lavfi", "-i",
            QString("testsrc=size=%1x%2:rate=%3:duration=%4")
                .arg(QString::number(recipe.width), QString::number(recipe.height), rate, seconds)};
    if (recipe.withAudio)
        arguments +=
            {"-f",  "lavfi",
             "-i",  QString("sine=sample_rate=%1:duration=%2").arg(recipe.sampleRate).arg(seconds),
             "-ac", QString::number(recipe.audioChannels)};
    // H.264 as cameras write it, MPEG-2 and PCM in MXF.
    arguments += recipe.container == Container::Mxf
                     ? QStringList{"-c:v", "mpeg2video", "-c:a", "pcm_s16le"}
                     : QStringList{"-c:v",     "libx264", "-preset", "ultrafast",
                                   "-pix_fmt", "yuv420p", "-c:a",    "aac"};
    if (recipe.videoCodec)
        arguments += {"-c:v", QString::fromStdString(*recipe.videoCodec)};
    if (recipe.container == Container::M4v)
        arguments += {"-f", "mp4"};
    if (recipe.timecode)
        arguments += {"-timecode", QString::fromStdString(*recipe.timecode)};
    if (recipe.creationTime)
        arguments += {"-metadata", "creation_time=" + QString::fromStdString(*recipe.creationTime)};
    runFfmpeg(arguments << QString::fromStdString(path));
    return path;
}

const std::string& cachedMovie(const MovieSpec& recipe) {
    static std::mutex mutex;
    static TempDir folder;
    static std::deque<std::pair<MovieSpec, std::string>> made; // references stay valid
    const std::lock_guard lock(mutex);
    for (const auto& [madeRecipe, path] : made)
        if (madeRecipe == recipe)
            return path;
    const char* extensions[] = {"mov", "mp4", "m4v", "mxf"};
    const std::string name = std::to_string(made.size()) + "." + extensions[int(recipe.container)];
    return made.emplace_back(recipe, makeMovie(folder.file(name), recipe)).second;
}

std::string makeWave(const std::string& path, const WaveSpec& recipe) {
    const QString sound = QString("sine=sample_rate=48000:duration=%1").arg(recipe.seconds);
    QStringList arguments{"-f",   "lavfi",    "-i", sound, "-ac", QString::number(recipe.channels),
                          "-c:a", "pcm_s16le"};
    if (recipe.timeReference)
        arguments += {"-write_bext", "1", "-metadata",
                      QString("time_reference=%1").arg(*recipe.timeReference)};
    if (recipe.rf64)
        arguments += {"-rf64", "always"};
    runFfmpeg(arguments + QStringList{"-f", "wav", QString::fromStdString(path)});
    return path;
}

WaveBuilder::WaveBuilder(std::string_view containerId, std::string_view formType) {
    header(containerId, 0xFFFFFFFF); // the readers ignore the container size
    for (char c : formType)
        bytes_.push_back(std::byte(c));
}

void WaveBuilder::header(std::string_view id, std::uint32_t declaredSize) {
    for (char c : id)
        bytes_.push_back(std::byte(c));
    bytes_ = le({{declaredSize, 4}}, std::move(bytes_));
}

WaveBuilder& WaveBuilder::fmt(std::uint16_t channels, std::uint32_t sampleRate,
                              std::uint16_t bitsPerSample) {
    const std::uint64_t align = channels * (bitsPerSample / 8);
    // PCM, channels, sample rate, byte rate, block align, bits a sample.
    const auto head = le({{1, 2}, {channels, 2}, {sampleRate, 4}, {sampleRate * align, 4}});
    return chunk("fmt ", le({{align, 2}, {bitsPerSample, 2}}, head));
}

WaveBuilder& WaveBuilder::ds64(std::uint64_t dataSize) {
    // RIFF size (not read), data size, sample count, table length.
    return chunk("ds64", le({{bytes_.size(), 8}, {dataSize, 8}, {0, 8}, {0, 4}}));
}

WaveBuilder& WaveBuilder::bext(std::uint64_t timeReference) {
    // Description .. origination time, the time reference, the version; UMID, loudness, reserved.
    auto payload = le({{timeReference, 8}, {1, 2}}, std::vector<std::byte>(338, std::byte{'d'}));
    payload.resize(602, std::byte{0});
    return chunk("bext", payload);
}

WaveBuilder& WaveBuilder::data(std::uint32_t declaredSize, std::size_t payloadBytes) {
    header("data", declaredSize);
    bytes_.resize(bytes_.size() + payloadBytes);
    return *this;
}

WaveBuilder& WaveBuilder::chunk(std::string_view id, const std::vector<std::byte>& payload) {
    header(id, std::uint32_t(payload.size()));
    bytes_.insert(bytes_.end(), payload.begin(), payload.end());
    if (payload.size() % 2 == 1)
        bytes_.push_back(std::byte(0));
    return *this;
}

std::string WaveBuilder::write(const std::string& path) const {
    writeFile(path, std::string_view(reinterpret_cast<const char*>(bytes_.data()), bytes_.size()));
    return path;
}

std::string sonySidecarXml(const SonySidecarSpec& recipe) {
    // Trimmed to a few of the elements the reader passes over.
    const char* layout = R"(<?xml version="1.0" encoding="UTF-8"?>
<NonRealTimeMeta xmlns="urn:schemas-professionalDisc:nonRealTimeMeta:ver.2.20" xmlns:lib="urn:schemas-professionalDisc:lib:ver.2.00" lastUpdate="2024-05-01T12:00:00+02:00">
	<Duration value="%1"/>
	<LtcChangeTable tcFps="30" halfStep="false">
		<LtcChange frameCount="0" value="12345601" status="increment"/>
		<LtcChange frameCount="%2" value="01165701" status="end"/>
	</LtcChangeTable>
	<CreationDate value="2024-05-01T12:00:00+02:00"/>
	<VideoFormat>
		<VideoFrame videoCodec="AVC_3840_2160_HP@L51" captureFps="29.97p" formatFps="29.97p"/>
		<VideoLayout pixel="3840" numOfVerticalLine="2160" aspectRatio="16:9"/>
	</VideoFormat>
	<AudioFormat numOfChannel="4"><AudioRecPort port="DIRECT" audioCodec="LPCM24"/></AudioFormat>
	<Device manufacturer="Sony" modelName="ILME-FX6V" serialNo="0123456"/>
</NonRealTimeMeta>
)";
    const auto last = std::max<std::int64_t>(recipe.durationFrames - 1, 0);
    return QString(layout).arg(recipe.durationFrames).arg(last).toStdString();
}

std::string writeSonySidecar(const std::string& clipPath, const SonySidecarSpec& recipe,
                             std::string_view suffix) {
    const QFileInfo clip(QString::fromStdString(clipPath));
    const std::string path =
        clip.dir().filePath(clip.completeBaseName() + QString::fromUtf8(suffix)).toStdString();
    writeFile(path, sonySidecarXml(recipe));
    return path;
}

void writeFile(const std::string& path, std::string_view contents) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(contents.data(), qint64(contents.size())) != qint64(contents.size()))
        throw std::runtime_error("cannot write " + path);
}

} // namespace korvalume::fixtures
