#include "media/movie_meta.h"

#include "media/date_text.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/intreadwrite.h>
#include <libavutil/log.h>
}

#include <cmath>
#include <limits>
#include <memory>
#include <mutex>

namespace korvalume::moviemeta {

namespace {

// Header reads only: enough for the probe and each atom or KLV header; the
// demuxers seek past media data.
constexpr int ioBufferSize = 4096;
constexpr int formatProbeBytes = 4096;
// The demuxers that read card media; no other demuxer ever sees a file.
constexpr const char* allowedDemuxers = "mov,mp4,m4a,3gp,3g2,mj2,mxf";

struct IoState {
    ByteSource& source;
    std::optional<std::uint64_t> size; // asked once: the demuxers ask on every seek
    std::uint64_t position = 0;
};

int readPacket(void* opaque, std::uint8_t* buffer, int size) {
    auto& io = *static_cast<IoState*>(opaque);
    if (size <= 0)
        return AVERROR(EINVAL);
    const auto got = io.source.readAt(
        io.position, std::span(reinterpret_cast<std::byte*>(buffer), std::size_t(size)));
    if (!got)
        return AVERROR(EIO);
    if (*got == 0)
        return AVERROR_EOF;
    io.position += *got;
    return int(*got);
}

std::int64_t seekTo(void* opaque, std::int64_t offset, int whence) {
    auto& io = *static_cast<IoState*>(opaque);
    const auto size = io.size;
    whence &= ~AVSEEK_FORCE;
    if (whence == AVSEEK_SIZE)
        return size && *size <= std::uint64_t(std::numeric_limits<std::int64_t>::max())
                   ? std::int64_t(*size)
                   : AVERROR(ENOSYS);
    std::int64_t base = 0;
    if (whence == SEEK_CUR)
        base = std::int64_t(io.position);
    else if (whence == SEEK_END) {
        if (!size)
            return AVERROR(ENOSYS);
        base = std::int64_t(*size);
    } else if (whence != SEEK_SET)
        return AVERROR(EINVAL);
    std::int64_t target = 0;
    if (__builtin_add_overflow(base, offset, &target) || target < 0)
        return AVERROR(EINVAL);
    io.position = std::uint64_t(target);
    return target;
}

// The demuxers must not open further files (QuickTime references, MXF externals).
int refuseOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
}

struct BufferDeleter {
    void operator()(unsigned char* buffer) const { av_free(buffer); }
};
struct AvioDeleter {
    void operator()(AVIOContext* io) const {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
};
struct FormatDeleter {
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
};
struct Options {
    AVDictionary* entries = nullptr;
    Options() = default;
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;
    ~Options() { av_dict_free(&entries); }
};
using AvioPointer = std::unique_ptr<AVIOContext, AvioDeleter>;
using FormatPointer = std::unique_ptr<AVFormatContext, FormatDeleter>;

void quietLibraryLog() {
    static std::once_flag once;
    // A damaged file on a card is expected; its complaints are not ours to print.
    std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

// An opened container: the I/O context outlives the format context that reads it.
struct OpenedMovie {
    std::unique_ptr<IoState> io;
    AvioPointer avio;
    FormatPointer format;
};

std::optional<OpenedMovie> open(ByteSource& source) {
    quietLibraryLog();
    OpenedMovie movie;
    movie.io = std::make_unique<IoState>(IoState{source, source.size()});
    std::unique_ptr<unsigned char, BufferDeleter> buffer(
        static_cast<unsigned char*>(av_malloc(ioBufferSize)));
    if (!buffer)
        return std::nullopt;
    movie.avio.reset(avio_alloc_context(buffer.get(), ioBufferSize, 0, movie.io.get(), readPacket,
                                        nullptr, seekTo));
    if (!movie.avio)
        return std::nullopt;
    buffer.release(); // the context owns it now, and may replace it

    AVFormatContext* format = avformat_alloc_context();
    if (!format)
        return std::nullopt;
    format->pb = movie.avio.get();
    format->flags |= AVFMT_FLAG_CUSTOM_IO;
    format->io_open = refuseOpen;

    Options options;
    av_dict_set(&options.entries, "format_whitelist", allowedDemuxers, 0);
    av_dict_set_int(&options.entries, "formatprobesize", formatProbeBytes, 0);
    // On failure avformat_open_input frees the context itself.
    if (avformat_open_input(&format, nullptr, nullptr, &options.entries) < 0)
        return std::nullopt;
    movie.format.reset(format);
    return movie;
}

double streamSeconds(const AVStream& stream) {
    if (stream.duration <= 0 || stream.duration == AV_NOPTS_VALUE || stream.time_base.den <= 0 ||
        stream.time_base.num <= 0)
        return 0;
    return double(stream.duration) * av_q2d(stream.time_base);
}

double durationSeconds(const AVFormatContext& format) {
    if (format.duration != AV_NOPTS_VALUE && format.duration > 0)
        return double(format.duration) / AV_TIME_BASE;
    // Without the movie header's duration, the longest stream stands for it.
    double longest = 0;
    for (unsigned i = 0; i < format.nb_streams; ++i)
        longest = std::max(longest, streamSeconds(*format.streams[i]));
    return longest;
}

// The picture size a stream shows, from the headers of its first packets (libavcodec's
// parser reads headers; nothing is decoded). For MPEG-2 the container gives the stored
// size, rounded up to whole macroblocks: 1088 lines for 1080. MPEG-4 Part 2 in a QuickTime
// file has its size only in the stream.
std::optional<std::pair<int, int>> parsedPictureSize(AVFormatContext& format,
                                                     const AVStream& video) {
    const AVCodecID codec = video.codecpar->codec_id;
    if (codec != AV_CODEC_ID_MPEG2VIDEO && video.codecpar->width > 0)
        return std::nullopt;
    const std::unique_ptr<AVCodecParserContext, decltype(&av_parser_close)> parser(
        av_parser_init(int(codec)), av_parser_close);
    AVCodecContext* raw = avcodec_alloc_context3(nullptr);
    const std::unique_ptr<AVCodecContext, void (*)(AVCodecContext*)> context(
        raw, [](AVCodecContext* c) { avcodec_free_context(&c); });
    AVPacket* rawPacket = av_packet_alloc();
    const std::unique_ptr<AVPacket, void (*)(AVPacket*)> packet(
        rawPacket, [](AVPacket* p) { av_packet_free(&p); });
    // The stream's own extradata may hold the headers (MPEG-4 Part 2 keeps them there).
    if (!parser || !context || !packet ||
        avcodec_parameters_to_context(context.get(), video.codecpar) < 0)
        return std::nullopt;
    // The first few packets are enough: the header leads the first picture.
    for (int read = 0; read < 16 && av_read_frame(&format, packet.get()) >= 0; ++read) {
        const bool ours = packet->stream_index == video.index;
        if (ours) {
            std::uint8_t* out = nullptr;
            int outSize = 0;
            av_parser_parse2(parser.get(), context.get(), &out, &outSize, packet->data,
                             packet->size, packet->pts, packet->dts, packet->pos);
        }
        av_packet_unref(packet.get());
        if (!ours)
            continue;
        // The MPEG-2 parser reports the shown size itself; others set it on the context.
        if (parser->width > 0 && parser->height > 0)
            return std::pair{parser->width, parser->height};
        if (codec != AV_CODEC_ID_MPEG2VIDEO && context->width > 0 && context->height > 0)
            return std::pair{context->width, context->height};
    }
    return std::nullopt;
}

const AVStream* firstVideoStream(const AVFormatContext& format) {
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream* stream = format.streams[i];
        // Cover art is stored as a one-picture video stream; it is no video track.
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
            !(stream->disposition & AV_DISPOSITION_ATTACHED_PIC))
            return stream;
    }
    return nullptr;
}

bool isMxf(const AVFormatContext& format) {
    return format.iformat && std::string_view(format.iformat->name) == "mxf";
}

std::optional<double> nominalRate(const AVFormatContext& format, const AVStream& video) {
    for (const AVRational rate : {video.avg_frame_rate, video.r_frame_rate}) {
        if (rate.num > 0 && rate.den > 0)
            return av_q2d(rate);
    }
    // MXF's header states the track's edit rate, which libavformat turns into
    // the stream's time base; the frame rates above come only from analysis.
    if (isMxf(format) && video.time_base.num > 0 && video.time_base.den > 0)
        return av_q2d(av_inv_q(video.time_base));
    return std::nullopt;
}

std::optional<double> creationDate(const AVFormatContext& format) {
    // An MXF file carries its recording date as its identification's modification date.
    for (const char* key : {"creation_time", "modification_date"}) {
        if (const AVDictionaryEntry* entry = av_dict_get(format.metadata, key, nullptr, 0)) {
            if (const auto date = datetext::containerDate(entry->value))
                return date;
        }
    }
    return std::nullopt;
}

// QuickTime timecode sample description, after the common sample-entry header:
// reserved(4) flags(4) timescale(4) frameDuration(4) numberOfFrames(1).
constexpr int tmcdDescriptionLength = 17;
constexpr std::uint32_t tmcdDropFrameFlag = 0x1;

// The timecode a movie shows, and when it counts more frames than it shows (50p, 59.94p),
// the exact time of its first frame.
struct StartTimecode {
    std::optional<Timecode> shown;
    std::optional<double> exact;
};

// Seconds of `frames` frames at the file's own rate, for rates above the counting base.
std::optional<double> exactSeconds(std::optional<std::int64_t> frames, const FrameRate& rate) {
    if (!frames || rate.timebase <= rate.tcBase() || !(rate.fps() > 0))
        return std::nullopt;
    return double(*frames) / rate.fps();
}

StartTimecode quickTimeTimecode(AVFormatContext& format, AVStream& track, const FrameRate& rate) {
    const AVCodecParameters& parameters = *track.codecpar;
    if (!parameters.extradata || parameters.extradata_size < tmcdDescriptionLength)
        return {};
    const std::uint32_t flags = AV_RB32(parameters.extradata + 4);
    const std::uint32_t quanta = parameters.extradata[16];
    const AVIndexEntry* first = avformat_index_get_entry(&track, 0);
    if (!first || first->pos < 0 || first->size < 4)
        return {};
    if (avio_seek(format.pb, first->pos, SEEK_SET) != first->pos)
        return {};
    std::uint8_t sample[4];
    if (avio_read(format.pb, sample, 4) != 4)
        return {};
    const std::uint32_t frameNumber = AV_RB32(sample);
    StartTimecode start{
        timecodeFromFrameNumber(frameNumber, quanta, (flags & tmcdDropFrameFlag) != 0), {}};
    // The sample counts frames at the track's own rate.
    if (std::int64_t(quanta) == rate.timebase)
        start.exact = exactSeconds(std::int64_t(frameNumber), rate);
    return start;
}

// The frame a label names when it counts the file's own frames ("10:00:00:45" at 50p);
// drop-frame skips 2 labels a minute for every 30 counted, except every tenth minute.
std::optional<std::int64_t> ownFrame(const Timecode& label, std::int64_t rate) {
    if (label.hours < 0 || label.hours > 99 || label.minutes < 0 || label.minutes > 59 ||
        label.seconds < 0 || label.seconds > 59 || label.frames < 0 || label.frames >= rate)
        return std::nullopt;
    const std::int64_t minutes = label.hours * 60 + label.minutes;
    std::int64_t frame = (minutes * 60 + label.seconds) * rate + label.frames;
    if (label.dropFrame)
        frame -= rate / 15 * (minutes - minutes / 10);
    return frame;
}

StartTimecode textTimecode(std::string_view text, const FrameRate& rate) {
    StartTimecode start{timecodeFromText(text, rate), {}};
    if (const auto own = Timecode::parse(text); own && start.shown)
        start.exact = exactSeconds(ownFrame(*own, rate.timebase), rate);
    return start;
}

StartTimecode startTimecode(AVFormatContext& format, const FrameRate& rate) {
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        AVStream& stream = *format.streams[i];
        if (stream.codecpar->codec_tag == MKTAG('t', 'm', 'c', 'd'))
            return quickTimeTimecode(format, stream, rate);
    }
    // MXF gives its material package's timecode as text only.
    if (const AVDictionaryEntry* entry = av_dict_get(format.metadata, "timecode", nullptr, 0))
        return textTimecode(entry->value, rate);
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        if (const AVDictionaryEntry* entry =
                av_dict_get(format.streams[i]->metadata, "timecode", nullptr, 0))
            return textTimecode(entry->value, rate);
    }
    return {};
}

} // namespace

FrameRate nearestRate(double nominalFps) {
    const auto rates = FrameRate::all();
    if (rates.empty())
        return FrameRate::pal();
    FrameRate best = rates.front();
    double bestDistance = std::abs(best.fps() - nominalFps);
    for (const FrameRate& rate : rates) {
        const double distance = std::abs(rate.fps() - nominalFps);
        if (distance < bestDistance) {
            best = rate;
            bestDistance = distance;
        }
    }
    return best;
}

std::optional<Timecode> timecodeFromFrameNumber(std::uint32_t frameNumber, std::uint32_t quanta,
                                                bool dropFrame) {
    if (quanta == 0)
        return std::nullopt;
    const std::int64_t base = quanta > 30 ? quanta / 2 : quanta;
    const std::int64_t count = std::int64_t(frameNumber) * base / std::int64_t(quanta);
    return Timecode::checkedFromFrameCount(count, base, dropFrame);
}

std::optional<Timecode> timecodeFromText(std::string_view text, const FrameRate& rate) {
    auto timecode = Timecode::parse(text);
    if (!timecode || timecode->hours < 0 || timecode->minutes < 0 || timecode->seconds < 0 ||
        timecode->frames < 0 || rate.timebase <= 0)
        return std::nullopt;
    timecode->frames = timecode->frames * rate.tcBase() / rate.timebase;
    return timecode;
}

std::optional<ClipFile> read(ByteSource& source, const std::string& path) {
    auto movie = open(source);
    if (!movie)
        return std::nullopt;
    AVFormatContext& format = *movie->format;

    const double seconds = durationSeconds(format);
    if (!(seconds > 0) || !std::isfinite(seconds))
        return std::nullopt;
    const AVStream* video = firstVideoStream(format);
    if (!video)
        return std::nullopt;

    ClipFile clip;
    clip.path = path;
    clip.duration = seconds;
    const FrameRate rate =
        nearestRate(nominalRate(format, *video).value_or(FrameRate::pal().fps()));
    clip.rate = rate;
    const double frames = std::round(seconds * rate.fps());
    if (!(frames < 9.2e18))
        return std::nullopt;
    clip.frames = std::int64_t(frames);
    if (video->codecpar->width > 0) {
        clip.width = video->codecpar->width;
        clip.height = video->codecpar->height;
    }
    if (const auto shown = parsedPictureSize(format, *video)) {
        clip.width = shown->first;
        clip.height = shown->second;
    }
    // The sound as it is: every audio stream's channels, at the first stream's rate; a
    // movie without sound has none.
    clip.audioChannels = 0;
    bool firstAudio = true;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVCodecParameters& audio = *format.streams[i]->codecpar;
        if (audio.codec_type != AVMEDIA_TYPE_AUDIO || audio.ch_layout.nb_channels <= 0)
            continue;
        clip.audioChannels += audio.ch_layout.nb_channels;
        if (firstAudio && audio.sample_rate > 0)
            clip.sampleRate = audio.sample_rate;
        firstAudio = false;
    }
    clip.created = creationDate(format);
    const StartTimecode start = startTimecode(format, rate);
    clip.startTC = start.shown;
    clip.startExact = start.exact;
    return clip;
}

std::optional<ClipFile> read(const std::string& path) {
    FileSource source(path);
    if (!source.isOpen())
        return std::nullopt;
    return read(source, path);
}

} // namespace korvalume::moviemeta
