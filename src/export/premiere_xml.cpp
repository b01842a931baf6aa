#include "export/premiere_xml.h"

#include "base/atomic_file.h"
#include "export/lanes.h"
#include "session/file_name.h"
#include "time/master_time.h"
#include "time/timecode.h"

#include <QByteArray>
#include <QFileInfo>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <unordered_map>

namespace korvalume::premierexml {

namespace {

// Premiere takes at most eight source channels per clip; a lane always gets at least one.
constexpr std::int64_t maxChannels = 8;

void appendInt(std::string& out, std::int64_t value) {
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    out.append(buffer, end);
}

// The length of the UTF-8 sequence at `i` when it is a character XML 1.0 can
// hold, else 0 (control characters, broken or overlong sequences, surrogates,
// U+FFFE and U+FFFF).
std::size_t xmlCharLength(std::string_view text, std::size_t i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead < 0x80)
        return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
    std::size_t length = 0;
    char32_t code = 0, smallest = 0;
    if (lead >= 0xC2 && lead <= 0xDF)
        length = 2, code = lead & 0x1F, smallest = 0x80;
    else if (lead >= 0xE0 && lead <= 0xEF)
        length = 3, code = lead & 0x0F, smallest = 0x800;
    else if (lead >= 0xF0 && lead <= 0xF4)
        length = 4, code = lead & 0x07, smallest = 0x10000;
    else
        return 0;
    if (text.size() - i < length)
        return 0;
    for (std::size_t j = 1; j < length; ++j) {
        const auto next = static_cast<unsigned char>(text[i + j]);
        if ((next & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (next & 0x3F);
    }
    if (code < smallest || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF) ||
        code == 0xFFFE || code == 0xFFFF)
        return 0;
    return length;
}

// The four entities, and U+FFFD for anything XML text cannot carry (a file name
// need not be UTF-8), so the document always parses.
void appendEscaped(std::string& out, std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            if (const std::size_t length = xmlCharLength(text, i)) {
                out.append(text.substr(i, length));
                i += length;
            } else {
                out += "\xEF\xBF\xBD";
                ++i;
            }
            continue;
        }
        ++i;
    }
}

void appendRate(std::string& out, const FrameRate& rate) {
    out += "<rate><timebase>";
    appendInt(out, rate.timebase);
    out +=
        rate.ntsc ? "</timebase><ntsc>TRUE</ntsc></rate>" : "</timebase><ntsc>FALSE</ntsc></rate>";
}

void appendPathURL(std::string& out, std::string_view path) {
    // Unreserved bytes stay, and the rest of the URL path set less "&", which XML text
    // cannot hold bare, and less ";", which older URL readers take as the start of a
    // segment's parameters.
    out += "file://localhost";
    out += QByteArray(path.data(), qsizetype(path.size()))
               .toPercentEncoding("!$'()*+,=:@/")
               .toStdString();
}

void appendPathURLOf(std::string& out, std::string_view path) {
    if (path.starts_with('/')) {
        appendPathURL(out, path);
        return;
    }
    const QString relative = QString::fromUtf8(path.data(), qsizetype(path.size()));
    appendPathURL(out, QFileInfo(relative).absoluteFilePath().toStdString());
}

void appendFileReference(std::string& out, std::int64_t number) {
    out += "<file id=\"file-";
    appendInt(out, number);
    out += "\"/>";
}

// The timecode of a file's first frame and its count at the file's base, when
// the file has one that can be counted.
struct FileTimecode {
    Timecode timecode;
    std::int64_t frame = 0;
};

std::optional<FileTimecode> fileTimecode(const ClipFile& file, const FrameRate& clipRate,
                                         const FrameRate& sequenceRate) {
    std::optional<Timecode> timecode = file.startTC;
    if (!timecode && file.startTCSeconds)
        timecode = Timecode::checkedFromSeconds(*file.startTCSeconds, sequenceRate, false);
    if (!timecode)
        return std::nullopt;
    const auto frame = timecode->checkedFrameCount(clipRate.tcBase());
    if (!frame)
        return std::nullopt;
    return FileTimecode{*timecode, *frame};
}

void appendFileElement(std::string& out, const ClipFile& file, std::int64_t id,
                       const FrameRate& clipRate, std::int64_t frames,
                       const FrameRate& sequenceRate) {
    out += "<file id=\"file-";
    appendInt(out, id);
    out += "\"><name>";
    appendEscaped(out, file.name());
    out += "</name><pathurl>";
    appendPathURLOf(out, file.path);
    out += "</pathurl>";
    appendRate(out, clipRate);
    out += "<duration>";
    appendInt(out, frames);
    out += "</duration>";
    if (const auto start = fileTimecode(file, clipRate, sequenceRate)) {
        out += "<timecode>";
        appendRate(out, FrameRate{clipRate.tcBase(), clipRate.ntsc});
        out += "<string>";
        out += start->timecode.string();
        out += "</string><frame>";
        appendInt(out, start->frame);
        out += start->timecode.dropFrame ? "</frame><displayformat>DF</displayformat></timecode>"
                                         : "</frame><displayformat>NDF</displayformat></timecode>";
    }
    out += "<media>";
    if (!file.audioOnly) {
        out += "<video><samplecharacteristics>";
        appendRate(out, clipRate);
        out += "<width>";
        appendInt(out, file.width);
        out += "</width><height>";
        appendInt(out, file.height);
        out += "</height></samplecharacteristics></video>";
    }
    // A silent movie describes no sound at all.
    if (file.audioOnly || file.audioChannels > 0) {
        out += file.audioOnly ? "<audio><samplecharacteristics><depth>24</depth><samplerate>"
                              : "<audio><samplecharacteristics><depth>16</depth><samplerate>";
        appendInt(out, file.sampleRate);
        out += "</samplerate></samplecharacteristics><channelcount>";
        appendInt(out, file.audioChannels);
        out += "</channelcount></audio>";
    }
    out += "</media></file>";
}

// One placed clip on the sequence, in sequence frames.
struct LaneEntry {
    const ClipFile* file = nullptr;
    std::int64_t start = 0;
    std::int64_t length = 0;
};

// The clip's frames on a sequence whose first frame is at `origin`, or nullopt
// when its start or duration is beyond any real shoot.
std::optional<LaneEntry> laneEntry(const PlacedClip& clip, MasterInstant origin, double fps) {
    if (!clip.start)
        return std::nullopt;
    const auto start = roundedFrames(fps * (*clip.start - origin));
    const auto length = roundedFrames(clip.file.duration * fps);
    if (!start || !length)
        return std::nullopt;
    return LaneEntry{&clip.file, *start, std::max<std::int64_t>(1, *length)};
}

// One track's worth of clips of one camera: its entries in start order, and
// the number of audio tracks it gets.
struct Lane {
    std::vector<LaneEntry> entries;
    std::int64_t channels = 1;
    bool hasVideo = false;
};

// How a clip names its file: the number of the clip that describes it in full,
// and whether that is this clip.
struct FileUse {
    std::int64_t number = 0;
    bool describes = false;
};

// Writes the clip items of all lanes straight into the document: first every
// lane's video track, then every lane's audio tracks. Clips are numbered in
// lane order, the same in both passes.
class TrackWriter {
public:
    TrackWriter(std::string& out, const FrameRate& sequenceRate, std::span<const FileUse> uses)
        : out_(out), sequenceRate_(sequenceRate), uses_(uses) {}

    // `firstClip` is the number of the lane's first clip, counting from 1.
    void videoTrack(const Lane& lane, std::int64_t firstClip) {
        if (!lane.hasVideo)
            return;
        out_ += "<track>\n";
        for (std::size_t i = 0; i < lane.entries.size(); ++i) {
            const LaneEntry& entry = lane.entries[i];
            if (entry.file->audioOnly)
                continue;
            const std::int64_t n = firstClip + std::int64_t(i);
            const FileUse use = uses_[std::size_t(n - 1)];
            scratch_.clear();
            const Pieces pieces = formatPieces(entry, n, lane.channels, use);
            openItem(10 * n, pieces);
            if (use.describes)
                appendFileElement(out_, *entry.file, n, clipRate(entry), frames(entry),
                                  sequenceRate_);
            else
                appendFileReference(out_, use.number);
            out_.append(piece(pieces.links));
            out_ += "</clipitem>\n";
        }
        out_ += trackEnd;
    }

    void audioTracks(const Lane& lane, std::int64_t firstClip) {
        // Each clip's pieces serve up to eight items; format them once per lane.
        scratch_.clear();
        lanePieces_.clear();
        for (std::size_t i = 0; i < lane.entries.size(); ++i) {
            const LaneEntry& entry = lane.entries[i];
            const std::int64_t n = firstClip + std::int64_t(i);
            const FileUse use = uses_[std::size_t(n - 1)];
            Pieces pieces = formatPieces(entry, n, lane.channels, use);
            if (entry.file->audioOnly && use.describes) {
                pieces.fullFile.offset = scratch_.size();
                appendFileElement(scratch_, *entry.file, n, clipRate(entry), frames(entry),
                                  sequenceRate_);
                pieces.fullFile.size = scratch_.size() - pieces.fullFile.offset;
            }
            lanePieces_.push_back(pieces);
        }
        for (std::int64_t k = 1; k <= lane.channels; ++k) {
            out_ += "<track>\n";
            for (const Pieces& pieces : lanePieces_) {
                if (k > pieces.last)
                    continue;
                openItem(pieces.base + k, pieces);
                out_.append(piece(k == 1 && pieces.fullFile.size != 0 ? pieces.fullFile
                                                                      : pieces.reference));
                out_ += "<sourcetrack><mediatype>audio</mediatype><trackindex>";
                appendInt(out_, k);
                out_ += "</trackindex></sourcetrack>";
                out_.append(piece(pieces.links));
                out_ += "</clipitem>\n";
            }
            out_ += trackEnd;
        }
    }

private:
    static constexpr std::string_view trackEnd =
        "<enabled>TRUE</enabled><locked>FALSE</locked></track>\n";

    struct Span {
        std::size_t offset = 0, size = 0;
    };
    // A clip's text pieces, held in the scratch buffer.
    struct Pieces {
        std::int64_t base = 0; // 10 x the clip's number
        std::int64_t last = 0; // its last audio channel on the timeline
        Span body;             // everything of an item after its id, up to the file
        Span links;
        Span reference;
        Span fullFile; // audio-only files only
    };

    FrameRate clipRate(const LaneEntry& entry) const {
        return entry.file->rate.value_or(sequenceRate_);
    }
    static std::int64_t frames(const LaneEntry& entry) {
        return entry.file->frames < 1 ? entry.length : entry.file->frames;
    }
    std::string_view piece(Span span) const {
        return std::string_view(scratch_).substr(span.offset, span.size);
    }

    // Appends the clip's pieces to the scratch buffer.
    Pieces formatPieces(const LaneEntry& entry, std::int64_t n, std::int64_t channels,
                        FileUse use) {
        std::string& text = scratch_;
        const ClipFile& file = *entry.file;
        const std::int64_t count = frames(entry);
        Pieces pieces;
        pieces.base = 10 * n;
        // A silent movie gets no audio items; a sound file always gets at least one.
        pieces.last = file.audioOnly ? std::clamp<std::int64_t>(file.audioChannels, 1, channels)
                                     : std::clamp<std::int64_t>(file.audioChannels, 0, channels);

        std::size_t mark = text.size();
        text += "\"><name>";
        // The file name, as ClipFile::name() gives it, without a copy.
        appendEscaped(text, std::string_view(file.path).substr(file.path.rfind('/') + 1));
        text += "</name><enabled>TRUE</enabled><duration>";
        appendInt(text, count);
        text += "</duration>";
        appendRate(text, clipRate(entry));
        text += "<start>";
        appendInt(text, entry.start);
        text += "</start><end>";
        appendInt(text, entry.start + entry.length);
        text += "</end><in>0</in><out>";
        appendInt(text, count);
        text += "</out>";
        pieces.body = {mark, text.size() - mark};

        mark = text.size();
        for (std::int64_t k = file.audioOnly ? 1 : 0; k <= pieces.last; ++k) {
            text += "<link><linkclipref>clipitem-";
            appendInt(text, pieces.base + k);
            text += k == 0 ? "</linkclipref><mediatype>video</mediatype><trackindex>"
                           : "</linkclipref><mediatype>audio</mediatype><trackindex>";
            appendInt(text, std::max<std::int64_t>(k, 1));
            text += "</trackindex></link>";
        }
        pieces.links = {mark, text.size() - mark};

        mark = text.size();
        appendFileReference(text, use.number);
        pieces.reference = {mark, text.size() - mark};
        return pieces;
    }

    void openItem(std::int64_t id, const Pieces& pieces) {
        out_ += "<clipitem id=\"clipitem-";
        appendInt(out_, id);
        out_.append(piece(pieces.body));
    }

    std::string& out_;
    FrameRate sequenceRate_;
    std::span<const FileUse> uses_;
    std::string scratch_;
    std::vector<Pieces> lanePieces_;
};

// Roughly the bytes the clip items will take, so the document is allocated once.
std::size_t estimatedSize(std::span<const Lane> lanes) {
    std::size_t size = 0;
    for (const Lane& lane : lanes) {
        size += std::size_t(lane.channels + 1) * 80;
        for (const LaneEntry& entry : lane.entries) {
            const ClipFile& file = *entry.file;
            const auto channels = std::size_t(std::clamp<std::int64_t>(file.audioChannels, 1, 8));
            const std::size_t items = channels + (file.audioOnly ? 0 : 1);
            const std::size_t item = 330 + 2 * file.path.size() + 100 * items;
            size += items * item + 900 + 3 * file.path.size();
        }
    }
    return size + size / 16;
}

struct SequenceTimecode {
    Timecode timecode;
    std::int64_t frame = 0;
};

// The time of day at the origin, counted at the sequence's timecode base without
// drop-frame. A rate no timecode can be counted at gives 00:00:00:00.
SequenceTimecode sequenceTimecode(MasterInstant origin, const FrameRate& rate,
                                  const QTimeZone& zone) {
    const auto frame = roundedFrames(mastertime::secondsOfDay(origin, zone) * rate.tcFps());
    if (!frame)
        return {};
    const auto timecode = Timecode::checkedFromFrameCount(*frame, rate.tcBase(), false);
    if (!timecode)
        return {};
    return {*timecode, *frame};
}

} // namespace

std::string escapeText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    appendEscaped(out, text);
    return out;
}

std::string pathURL(std::string_view path) {
    std::string out;
    appendPathURLOf(out, path);
    return out;
}

Document build(const SessionDoc& doc, std::span<const CameraPlan> plans) {
    const FrameRate& rate = doc.fps;
    const double fps = rate.fps();
    Document result;

    // The sequence starts on the whole second at or before the session's start
    // and every placed clip.
    MasterInstant earliest = doc.startedAt;
    for (const auto& plan : plans)
        for (const auto& clip : plan.clips)
            if (clip.start && clip.start->isFinite())
                earliest = std::min(earliest, *clip.start);
    const MasterInstant origin(std::floor(earliest.seconds));

    std::int64_t width = 1920, height = 1080;
    [&] {
        for (const auto& plan : plans)
            for (const auto& clip : plan.clips)
                if (!clip.file.audioOnly && laneEntry(clip, origin, fps)) {
                    width = clip.file.width;
                    height = clip.file.height;
                    return;
                }
    }();

    // Lanes of every plan, plan after plan, each plan's in the order they opened.
    std::vector<Lane> lanes;
    std::int64_t duration = 0;
    std::vector<const PlacedClip*> byStart;
    for (std::size_t planIndex = 0; planIndex < plans.size(); ++planIndex) {
        byStart.clear();
        for (const auto& clip : plans[planIndex].clips)
            if (clip.start)
                byStart.push_back(&clip);
        // Non-finite starts are left out before sorting, which needs an order.
        std::erase_if(byStart, [&](const PlacedClip* clip) {
            if (clip->start->isFinite())
                return false;
            result.leftOut.push_back({planIndex, clip->file.path});
            return true;
        });
        std::stable_sort(
            byStart.begin(), byStart.end(),
            [](const PlacedClip* a, const PlacedClip* b) { return *a->start < *b->start; });

        const std::size_t firstLane = lanes.size();
        FirstFitLanes laneIndex;
        for (const PlacedClip* clip : byStart) {
            const auto entry = laneEntry(*clip, origin, fps);
            if (!entry) {
                result.leftOut.push_back({planIndex, clip->file.path});
                continue;
            }
            const std::int64_t end = entry->start + entry->length;
            duration = std::max(duration, end);
            const std::size_t lane = firstLane + laneIndex.place(entry->start, end);
            if (lane == lanes.size())
                lanes.emplace_back();
            lanes[lane].entries.push_back(*entry);
            lanes[lane].channels =
                std::max(lanes[lane].channels, std::min(entry->file->audioChannels, maxChannels));
            lanes[lane].hasVideo = lanes[lane].hasVideo || !entry->file->audioOnly;
        }
    }

    // Clip numbers follow the lanes; a file is described in full by its first clip.
    std::vector<FileUse> uses;
    {
        std::unordered_map<std::string_view, std::int64_t> describedBy;
        for (const Lane& lane : lanes) {
            for (const LaneEntry& entry : lane.entries) {
                const auto n = std::int64_t(uses.size()) + 1;
                const auto [found, isNew] = describedBy.try_emplace(entry.file->path, n);
                uses.push_back({found->second, isNew});
            }
        }
    }

    std::string markers;
    for (const auto& event : doc.events) {
        if (event.kind != SyncEvent::Kind::marker || event.at < origin)
            continue;
        const auto in = roundedFrames((event.at - origin) * fps);
        if (!in)
            continue;
        markers += "<marker><name>";
        appendEscaped(markers, event.label ? std::string_view(*event.label) : "Marker");
        markers += "</name><comment></comment><in>";
        appendInt(markers, *in);
        markers += "</in><out>-1</out></marker>\n";
    }

    const auto start = sequenceTimecode(origin, rate, doc.timeZone());

    std::string& out = result.xml;
    out.reserve(1024 + doc.name.size() * 6 + markers.size() + estimatedSize(lanes));
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n<xmeml version=\"4\">\n"
           "<sequence id=\"sequence-1\">\n<name>";
    appendEscaped(out, doc.name);
    out += " SYNC MAP</name>\n<duration>";
    appendInt(out, std::max<std::int64_t>(duration, 1));
    out += "</duration>\n";
    appendRate(out, rate);
    out += "\n<timecode>";
    appendRate(out, FrameRate{rate.tcBase(), rate.ntsc});
    out += "<string>";
    out += start.timecode.string();
    out += "</string><frame>";
    appendInt(out, start.frame);
    out += "</frame><displayformat>NDF</displayformat></timecode>\n<media>\n<video>\n"
           "<format><samplecharacteristics>";
    appendRate(out, rate);
    out += "<width>";
    appendInt(out, width);
    out += "</width><height>";
    appendInt(out, height);
    out += "</height><pixelaspectratio>square</pixelaspectratio></samplecharacteristics>"
           "</format>\n";
    TrackWriter tracks(out, rate, uses);
    std::int64_t firstClip = 1;
    for (const Lane& lane : lanes) {
        tracks.videoTrack(lane, firstClip);
        firstClip += std::int64_t(lane.entries.size());
    }
    out += "</video>\n<audio>\n<numOutputChannels>2</numOutputChannels>\n<format>"
           "<samplecharacteristics><depth>16</depth><samplerate>48000</samplerate>"
           "</samplecharacteristics></format>\n";
    firstClip = 1;
    for (const Lane& lane : lanes) {
        tracks.audioTracks(lane, firstClip);
        firstClip += std::int64_t(lane.entries.size());
    }
    out += "</audio>\n</media>\n";
    out += markers;
    out += "</sequence>\n</xmeml>\n";
    return result;
}

std::string exportDocument(const SessionDoc& doc, std::span<const CameraPlan> plans) {
    return build(doc, plans).xml;
}

std::string fileName(const SessionDoc& doc) {
    return proposedFileName(doc, " SYNC MAP.xml");
}

std::optional<std::string> save(const std::string& path, std::string_view xml) {
    const auto written = writeFileAtomically(path, xml);
    if (written)
        return std::nullopt;
    return "Could not save the sync map: " + written.message();
}

} // namespace korvalume::premierexml
