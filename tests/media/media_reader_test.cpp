#include "media/media_reader.h"
#include "support/media_fixtures.h"

#include <QFile>

#include <gtest/gtest.h>

#include <filesystem>

namespace korvalume {
namespace {

using fixtures::Container;
using fixtures::WaveBuilder;

std::vector<std::string> names(const std::vector<ClipFile>& clips) {
    std::vector<std::string> result;
    for (const ClipFile& clip : clips)
        result.push_back(clip.path);
    return result;
}

void copyMovie(const fixtures::MovieSpec& spec, const std::string& to) {
    std::filesystem::copy_file(fixtures::cachedMovie(spec), to);
}

void writeWave(const std::string& path) {
    WaveBuilder().fmt(2, 48000, 16).data(19200, 16).write(path);
}

TEST(MediaReader, ScansNestedFoldersInPathOrderSkippingHiddenItems) {
    fixtures::TempDir card;
    const std::string root = card.path();
    // Written out of order; the scan sorts by full path.
    writeWave(card.file("B/a.wav"));
    writeWave(card.file("A/sub/z.WAV"));
    writeWave(card.file("A/y.bwf"));
    writeWave(card.file("c.Wav"));
    copyMovie({.container = Container::Mp4}, card.file("A/CLIP.MP4"));
    copyMovie({.container = Container::Mxf}, card.file("B/C/D/E/deep.mxf"));
    // Not listed: hidden files and folders, other extensions, unreadable media.
    writeWave(card.file("._c.wav"));
    writeWave(card.file(".Trash/x.wav"));
    writeWave(card.file("notes.txt"));
    writeWave(card.file("wav"));
    fixtures::writeFile(card.file("A/broken.wav"), "RIFF....WAVE");
    fixtures::writeFile(card.file("B/broken.mov"), "moov");
    std::filesystem::create_directories(card.file("folder.mov"));

    const auto clips = MediaReader::clips(root);
    EXPECT_EQ(names(clips), (std::vector<std::string>{
                                root + "/A/CLIP.MP4",
                                root + "/A/sub/z.WAV",
                                root + "/A/y.bwf",
                                root + "/B/C/D/E/deep.mxf",
                                root + "/B/a.wav",
                                root + "/c.Wav",
                            }));
    EXPECT_TRUE(clips[1].audioOnly);
    EXPECT_FALSE(clips[0].audioOnly);
    EXPECT_EQ(clips[3].name(), "deep.mxf");

    // A relative folder gives absolute paths too.
    const auto relative = std::filesystem::relative(card.file("B"));
    EXPECT_EQ(names(MediaReader::clips(relative.string())),
              (std::vector<std::string>{root + "/B/C/D/E/deep.mxf", root + "/B/a.wav"}));

    EXPECT_TRUE(MediaReader::clips(card.file("missing")).empty());
    std::filesystem::create_directories(card.file("empty/inner"));
    EXPECT_TRUE(MediaReader::clips(card.file("empty")).empty());
}

TEST(MediaReader, SonySidecarFirstMovieReaderAsFallback) {
    fixtures::TempDir card;
    const fixtures::MovieSpec movie{.container = Container::Mp4, .rate = {25, false}};
    const std::string withSidecar = card.file("C0001.MP4");
    const std::string emptyDuration = card.file("C0002.MP4");
    const std::string notXml = card.file("C0003.MP4");
    const std::string plain = card.file("C0004.MP4");
    for (const auto& path : {withSidecar, emptyDuration, notXml, plain})
        copyMovie(movie, path);
    fixtures::writeSonySidecar(withSidecar, {.durationFrames = 500, .model = "ILME-FX6V"});
    fixtures::writeSonySidecar(emptyDuration, {.durationFrames = 0}, "M01.xml");
    fixtures::writeFile(card.file("C0003M01.XML"), "<NonRealTimeMeta><Duration value=\"5\">");
    // A sidecar alone, without its clip, is nothing.
    fixtures::writeSonySidecar(card.file("C0009.MP4"), {});

    const auto clips = MediaReader::clips(card.path());
    ASSERT_EQ(clips.size(), 4u);
    EXPECT_EQ(clips[0].model, "ILME-FX6V");
    EXPECT_EQ(clips[0].frames, 500);
    EXPECT_EQ(clips[0].width, 3840);
    EXPECT_EQ(clips[0].startTC, (Timecode{10, 0, 0, 0, false}));
    // The other three come from the movie itself, all alike.
    const auto fromMovie = MediaReader::read(plain);
    ASSERT_TRUE(fromMovie);
    EXPECT_EQ(fromMovie->frames, 25);
    EXPECT_EQ(fromMovie->model, "");
    for (std::size_t i = 1; i < 4; ++i) {
        ClipFile expected = *fromMovie;
        expected.path = clips[i].path;
        EXPECT_EQ(clips[i], expected) << clips[i].path;
    }
}

TEST(MediaReader, ProgressAndAsynchronousScans) {
    fixtures::TempDir first;
    fixtures::TempDir second;
    for (int i = 0; i < 3; ++i)
        writeWave(first.file("take" + std::to_string(i) + ".wav"));
    writeWave(first.file("skip.txt"));
    fixtures::writeFile(first.file("bad.wav"), "nothing");
    writeWave(second.file("other.wav"));

    std::vector<std::pair<std::size_t, std::size_t>> steps;
    MediaReader::ScanOptions options;
    options.progress = [&steps](const MediaReader::ScanProgress& progress) {
        steps.emplace_back(progress.filesDone, progress.filesTotal);
    };
    const auto blocking = MediaReader::clips(first.path(), options);
    EXPECT_EQ(blocking.size(), 3u);
    EXPECT_EQ(steps, (std::vector<std::pair<std::size_t, std::size_t>>{
                         {0, 4}, {1, 4}, {2, 4}, {3, 4}, {4, 4}}));

    // Two folders at once, each on its own worker.
    auto a = MediaReader::clipsAsync(first.path());
    auto b = MediaReader::clipsAsync(second.path());
    EXPECT_EQ(a.result(), blocking);
    ASSERT_EQ(b.result().size(), 1u);
    EXPECT_EQ(b.result()[0].name(), "other.wav");
    EXPECT_EQ(MediaReader::readAsync(first.file("take0.wav")).result(), std::nullopt);
}

TEST(MediaReader, FolderProblems) {
    fixtures::TempDir dir;
    writeWave(dir.file("file.wav"));
    EXPECT_EQ(MediaReader::folderProblem(dir.path()), std::nullopt);
    EXPECT_EQ(MediaReader::folderProblem(dir.file("none")), "does not exist");
    EXPECT_EQ(MediaReader::folderProblem(dir.file("file.wav")), "is not a folder");
}

} // namespace
} // namespace korvalume
