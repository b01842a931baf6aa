// The example shoot (examples/) run through the built korvalume tool as a user
// runs it: log, scan, plan and export as separate processes on cards made by
// examples/make-cards. Where every clip must land is known from how the shoot
// was made, so each placement is checked to the frame.

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace {

using nlohmann::json;

// ---- The shoot as it happened (examples/README.md) ----

// Wall-clock time in the session's zone (UTC+01:00) on 2024-06-15, as a master-clock instant.
constexpr double wallClock(int hours, int minutes, double seconds) {
    constexpr double localMidnight = 1'718'406'000; // 2024-06-15 00:00 +01:00
    return localMidnight + hours * 3600 + minutes * 60 + seconds;
}
constexpr double sessionStart = wallClock(10, 0, 0);
constexpr double sequenceFps = 25;

struct Card {
    const char* camera; // as the session names it
    const char* folder; // under the cards folder
};
const Card cards[] = {
    {"CAM A", "CAM_A"}, {"CAM B", "CAM_B"}, {"CAM C", "CAM_C"}, {"SOUND A", "SOUND_A"}};

enum class Kind { Movie, SlowMotionMovie, Sound };

struct Clip {
    const char* camera;
    const char* name;
    Kind kind;
    std::optional<double> start; // when it really started; absent when it cannot be placed
    const char* method;
    const char* note = nullptr;
};

// Per camera in the order the plan lists them: by recording date, then name.
const Clip shoot[] = {
    // Logged over Bluetooth until 10:03:00; the last take is placed by the
    // timecode learned from the two logged ones.
    {"CAM A", "C0001.MP4", Kind::Movie, wallClock(10, 0, 30.00), "LOGGED"},
    {"CAM A", "C0002.MP4", Kind::Movie, wallClock(10, 2, 0.00), "LOGGED"},
    {"CAM A", "C0003.MP4", Kind::SlowMotionMovie, std::nullopt, "NOT PLACED",
     "Slow & quick motion clip: place by hand."},
    {"CAM A", "C0004.MP4", Kind::Movie, wallClock(10, 4, 10.20), "TIMECODE + LOG"},
    // Every take logged; the one at 10:01:40 never reached the card.
    {"CAM B", "CLIP0001.MOV", Kind::Movie, wallClock(10, 0, 45.00), "LOGGED"},
    {"CAM B", "CLIP0002.MOV", Kind::Movie, wallClock(10, 2, 30.00), "LOGGED"},
    // Free-run timecode unrelated to the time of day, tied to it by two scans.
    {"CAM C", "CAMC_001.MXF", Kind::Movie, wallClock(10, 1, 5.00), "TIMECODE"},
    {"CAM C", "CAMC_002.MXF", Kind::Movie, wallClock(10, 2, 45.48), "TIMECODE"},
    {"CAM C", "CAMC_003.MXF", Kind::Movie, wallClock(10, 4, 30.00), "TIMECODE"},
    // Broadcast WAV time references, 1.2 s behind the clock, tied to it by one scan.
    {"SOUND A", "240615_001.WAV", Kind::Sound, wallClock(10, 0, 28.00), "TIMECODE"},
    {"SOUND A", "240615_002.WAV", Kind::Sound, wallClock(10, 4, 5.00), "TIMECODE"},
};

const std::map<std::string, std::vector<std::string>> warnings = {
    {"CAM A", {}},
    {"CAM B", {"1 logged recording(s) have no matching file."}},
    {"CAM C", {}},
    {"SOUND A", {}},
};

struct Marker {
    const char* label;
    double at;
};
const Marker markers[] = {{"Scene 1", wallClock(10, 0, 25.00)},
                          {"Boat passes", wallClock(10, 3, 45.52)}};

// The timeline's first frame: the earliest of the session start and every placed
// clip, down to a whole second.
double timelineOrigin() {
    double origin = sessionStart;
    for (const Clip& clip : shoot) {
        if (clip.start)
            origin = std::min(origin, *clip.start);
    }
    return std::floor(origin);
}

std::int64_t timelineFrame(double instant) {
    return std::llround((instant - timelineOrigin()) * sequenceFps);
}

std::vector<const Clip*> clipsOf(const std::string& camera) {
    std::vector<const Clip*> clips;
    for (const Clip& clip : shoot) {
        if (clip.camera == camera)
            clips.push_back(&clip);
    }
    return clips;
}

// ---- Running the tool ----

struct Outcome {
    int code = -1;
    std::string out;
    std::string err;
};

Outcome runProcess(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    Outcome run;
    if (!process.waitForStarted(30'000)) {
        run.err = "could not start " + program.toStdString();
        return run;
    }
    if (!process.waitForFinished(180'000)) {
        process.kill();
        process.waitForFinished();
        run.err = program.toStdString() + " timed out";
        return run;
    }
    run.code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput().toStdString();
    run.err += process.readAllStandardError().toStdString();
    return run;
}

Outcome korvalume(QStringList arguments) {
    return runProcess(QStringLiteral(KORVALUME_BINARY), arguments);
}

QString sourcePath(const char* relative) {
    return QStringLiteral(KORVALUME_SOURCE_DIR) + "/" + relative;
}

const QStringList logs = {sourcePath("examples/logs/harbour-walk-mia.korvalume"),
                          sourcePath("examples/logs/harbour-walk-jonas.korvalume")};

QString testTemp() {
    const QString base = qEnvironmentVariable("KORVALUME_TEST_TMP", QDir::tempPath());
    QDir().mkpath(base);
    return base;
}

// CTest runs every test in its own process, so the cards are made once per
// version of make-cards and shared by all of them, under a lock.
QString makeCards(std::string& error) {
    QFile script(sourcePath("examples/make-cards"));
    if (!script.open(QIODevice::ReadOnly)) {
        error = "cannot read examples/make-cards";
        return {};
    }
    const QByteArray version =
        QCryptographicHash::hash(script.readAll(), QCryptographicHash::Sha1).toHex().left(12);
    const QString root = testTemp() + "/example-cards-" + QString::fromLatin1(version);
    QLockFile lock(root + ".lock");
    lock.setStaleLockTime(10 * 60'000);
    if (!lock.tryLock(10 * 60'000)) {
        error = "cannot lock " + root.toStdString();
        return {};
    }
    const QString complete = root + "/complete";
    if (QFile::exists(complete))
        return root;
    QDir(root).removeRecursively(); // what an interrupted run left
    const Outcome made = runProcess("python3", {sourcePath("examples/make-cards"), root});
    if (made.code != 0) {
        error = "examples/make-cards failed: " + made.err;
        return {};
    }
    if (!QFile(complete).open(QIODevice::WriteOnly))
        error = "cannot write " + complete.toStdString();
    return root;
}

class ExampleShoot : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        output = std::make_unique<QTemporaryDir>(testTemp() + "/example-shoot-XXXXXX");
        cardsRoot = makeCards(cardsError);
    }
    static void TearDownTestSuite() { output.reset(); }
    void SetUp() override {
        ASSERT_TRUE(output->isValid()) << output->errorString().toStdString();
        ASSERT_TRUE(cardsError.empty()) << cardsError;
        ASSERT_TRUE(QFile::exists(QStringLiteral(KORVALUME_BINARY)))
            << "build the korvalume target first: " << KORVALUME_BINARY;
    }

    static QString outputPath(const char* name) { return output->path() + "/" + name; }
    static QString cardFolder(const Card& card) { return cardsRoot + "/" + card.folder; }
    static QStringList withFolders(QStringList arguments) {
        for (const Card& card : cards)
            arguments << "--folder" << QString(card.camera) + "=" + cardFolder(card);
        return arguments;
    }
    static json parsed(const Outcome& run) {
        json value = json::parse(run.out, nullptr, /*allow_exceptions=*/false);
        EXPECT_FALSE(value.is_discarded()) << "not JSON: " << run.out;
        return value;
    }

    static inline std::unique_ptr<QTemporaryDir> output; // what the tool writes
    static inline QString cardsRoot;
    static inline std::string cardsError;
};

TEST_F(ExampleShoot, TheTwoPhonesLogsCombineIntoOneSession) {
    const QString combined = outputPath("combined.korvalume");
    const Outcome run =
        korvalume(QStringList{"log"} + logs + QStringList{"--json", "-o", combined});
    ASSERT_EQ(run.code, 0) << run.err;
    const json result = parsed(run);
    ASSERT_TRUE(result.is_object());
    EXPECT_EQ(result.value("logCount", 0), 2);

    const json& doc = result.at("doc");
    EXPECT_EQ(doc.value("name", ""), "Harbour Walk");
    std::vector<std::string> names;
    for (const json& camera : doc.at("cameras"))
        names.push_back(camera.value("name", ""));
    EXPECT_EQ(names, (std::vector<std::string>{"CAM A", "CAM B", "CAM C", "SOUND A"}));

    // Every event of either phone once; those that reached both phones are not doubled.
    std::set<std::string> expectedIds;
    for (const QString& log : logs) {
        QFile file(log);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << log.toStdString();
        const json phoneLog = json::parse(file.readAll().toStdString());
        for (const json& event : phoneLog.at("events"))
            expectedIds.insert(event.at("id").get<std::string>());
    }
    std::set<std::string> ids;
    double previous = 0;
    for (const json& event : doc.at("events")) {
        ids.insert(event.value("id", ""));
        EXPECT_LE(previous, event.value("at", 0.0)) << "events out of order";
        previous = event.value("at", 0.0);
    }
    EXPECT_EQ(ids, expectedIds);
    EXPECT_EQ(doc.at("events").size(), expectedIds.size());

    std::vector<std::string> report = result.value("report", std::vector<std::string>{});
    EXPECT_EQ(report, (std::vector<std::string>{
                          "CAM C is already in this session. Added 2 timecode scans that "
                          "weren't here.",
                          "SOUND A is already in this session. Added 1 timecode scan that "
                          "wasn't here.",
                          "CAM A is already in this session. This log had nothing new for it.",
                          "CAM B is already in this session. This log had nothing new for it.",
                          "Added 1 marker.",
                      }));

    // The combined log written with -o opens again as the same session.
    const Outcome reopened = korvalume({"log", combined, "--json"});
    ASSERT_EQ(reopened.code, 0) << reopened.err;
    EXPECT_EQ(parsed(reopened).at("doc"), doc);
}

TEST_F(ExampleShoot, ScanFindsEveryClipOnEachCardAndNothingElse) {
    for (const Card& card : cards) {
        SCOPED_TRACE(card.camera);
        const Outcome run = korvalume({"scan", cardFolder(card), "--json"});
        ASSERT_EQ(run.code, 0) << run.err;
        const json scanned = parsed(run);
        ASSERT_TRUE(scanned.is_array());

        std::map<std::string, json> byName;
        for (const json& clip : scanned)
            byName[clip.value("name", "")] = clip;
        const auto expected = clipsOf(card.camera);
        ASSERT_EQ(byName.size(), expected.size()) << run.out;
        for (const Clip* clip : expected) {
            SCOPED_TRACE(clip->name);
            ASSERT_TRUE(byName.contains(clip->name));
            const json& found = byName[clip->name];
            EXPECT_EQ(found.value("slowMotion", false), clip->kind == Kind::SlowMotionMovie);
            EXPECT_EQ(found.value("audioOnly", false), clip->kind == Kind::Sound);
            // Every clip carries its start: a timecode, or a WAV's time reference.
            EXPECT_TRUE(found.contains(clip->kind == Kind::Sound ? "startTCSeconds" : "startTC"));
        }
    }
    // The Sony card's clips are read from their sidecars.
    const Outcome sony = korvalume({"scan", cardFolder(cards[0]), "--json"});
    for (const json& clip : parsed(sony))
        EXPECT_EQ(clip.value("model", ""), "ILME-FX30") << clip.value("name", "");
}

TEST_F(ExampleShoot, PlanPlacesEveryClipWhereItWasShot) {
    const Outcome run = korvalume(withFolders(QStringList{"plan"} + logs + QStringList{"--json"}));
    ASSERT_EQ(run.code, 0) << run.err;
    const json plan = parsed(run);
    ASSERT_TRUE(plan.contains("cameras"));
    ASSERT_EQ(plan.at("cameras").size(), std::size(cards));

    for (const json& camera : plan.at("cameras")) {
        const std::string name = camera.value("name", "");
        SCOPED_TRACE(name);
        EXPECT_EQ(camera.value("warnings", std::vector<std::string>{}), warnings.at(name));

        const auto expected = clipsOf(name);
        const json& clips = camera.at("clips");
        ASSERT_EQ(clips.size(), expected.size()) << camera.dump();
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const Clip& want = *expected[i];
            const json& got = clips[i];
            SCOPED_TRACE(want.name);
            EXPECT_EQ(got.value("name", ""), want.name);
            EXPECT_EQ(got.value("method", ""), want.method);
            if (want.start) {
                ASSERT_TRUE(got.contains("start"));
                const double start = got.at("start").get<double>();
                EXPECT_EQ(timelineFrame(start), timelineFrame(*want.start))
                    << "placed " << start - *want.start << " s from where it was shot";
                EXPECT_FALSE(got.contains("note"));
            } else {
                EXPECT_FALSE(got.contains("start"));
                EXPECT_EQ(got.value("note", ""), want.note);
            }
        }
    }
}

// One clip item of the exported sequence.
struct Item {
    std::string name;
    std::int64_t start = -1;
    bool audio = false; // under <audio> rather than <video>
};

struct Sequence {
    std::string name;
    std::vector<Item> items;
    std::map<std::string, std::int64_t> markerIns;
    std::vector<std::string> pathUrls;
};

// Reads the xmeml document; the element stack tells a clip item's own name and
// start from those of the file element inside it.
std::optional<Sequence> readSequence(const QString& path, std::string& error) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = "cannot open " + path.toStdString();
        return std::nullopt;
    }
    QXmlStreamReader xml(&file);
    Sequence sequence;
    std::vector<QString> stack;
    std::string markerName;
    bool inAudio = false;
    auto parentIs = [&](const char* name) { return stack.size() >= 2 && stack.end()[-2] == name; };
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            stack.push_back(xml.name().toString());
            const QString& element = stack.back();
            if (element == "audio" && parentIs("media") && stack.size() == 4)
                inAudio = true;
            if (element == "clipitem")
                sequence.items.push_back(Item{{}, -1, inAudio});
            const bool wanted =
                element == "name" || element == "start" || element == "in" || element == "pathurl";
            if (!wanted)
                continue;
            const QString text = xml.readElementText();
            bool isNumber = false;
            const std::int64_t number = text.toLongLong(&isNumber);
            if ((element == "start" || element == "in") && !isNumber) {
                error = "<" + element.toStdString() + "> is not a number at line " +
                        std::to_string(xml.lineNumber());
                return std::nullopt;
            }
            const std::string value = text.toStdString();
            if (parentIs("clipitem") && element == "name")
                sequence.items.back().name = value;
            else if (parentIs("clipitem") && element == "start")
                sequence.items.back().start = number;
            else if (parentIs("sequence") && element == "name")
                sequence.name = value;
            else if (parentIs("marker") && element == "name")
                markerName = value;
            else if (parentIs("marker") && element == "in")
                sequence.markerIns[markerName] = number;
            else if (element == "pathurl")
                sequence.pathUrls.push_back(value);
            stack.pop_back(); // readElementText consumed the end tag
        } else if (xml.isEndElement()) {
            if (stack.back() == "audio" && stack.size() == 4)
                inAudio = false;
            stack.pop_back();
        }
    }
    if (xml.hasError()) {
        error = xml.errorString().toStdString() + " at line " + std::to_string(xml.lineNumber());
        return std::nullopt;
    }
    return sequence;
}

TEST_F(ExampleShoot, ExportedTimelineHoldsEveryPlacedClipAtItsFrame) {
    const QString timeline = outputPath("Harbour Walk SYNC MAP.xml");
    const Outcome run =
        korvalume(withFolders(QStringList{"export"} + logs + QStringList{"-o", timeline}));
    ASSERT_EQ(run.code, 0) << run.err;

    std::string error;
    const auto sequence = readSequence(timeline, error);
    ASSERT_TRUE(sequence) << error;
    EXPECT_EQ(sequence->name, "Harbour Walk SYNC MAP");

    for (const Clip& clip : shoot) {
        SCOPED_TRACE(clip.name);
        std::vector<const Item*> video, audio;
        for (const Item& item : sequence->items) {
            if (item.name == clip.name)
                (item.audio ? audio : video).push_back(&item);
        }
        if (!clip.start) {
            EXPECT_TRUE(video.empty() && audio.empty()) << "an unplaced clip is on the timeline";
            continue;
        }
        // A movie is one video item; a WAV has no picture, only its two channels.
        EXPECT_EQ(video.size(), clip.kind == Kind::Sound ? 0u : 1u);
        if (clip.kind == Kind::Sound) {
            EXPECT_EQ(audio.size(), 2u);
        }
        for (const Item* item : video)
            EXPECT_EQ(item->start, timelineFrame(*clip.start)) << "video";
        for (const Item* item : audio)
            EXPECT_EQ(item->start, timelineFrame(*clip.start)) << "audio";

        const std::string suffix = std::string("/") + clip.name;
        const bool referenced =
            std::any_of(sequence->pathUrls.begin(), sequence->pathUrls.end(), [&](auto& url) {
                return url.starts_with("file://localhost/") && url.ends_with(suffix);
            });
        EXPECT_TRUE(referenced) << "no file element points at " << clip.name;
    }

    for (const Marker& marker : markers) {
        ASSERT_TRUE(sequence->markerIns.contains(marker.label)) << marker.label;
        EXPECT_EQ(sequence->markerIns.at(marker.label), timelineFrame(marker.at)) << marker.label;
    }
}

} // namespace
