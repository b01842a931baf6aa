#include "media/media_reader.h"
#include "support/media_fixtures.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace korvalume {
namespace {

using fixtures::Container;
using Paths = std::vector<std::string>;

Paths paths(const std::vector<ClipFile>& clips) {
    Paths result;
    for (const ClipFile& clip : clips)
        result.push_back(clip.path);
    return result;
}

void copyMovie(const fixtures::MovieSpec& recipe, const std::string& to) {
    std::filesystem::copy_file(fixtures::cachedMovie(recipe), to);
}

void writeWave(const std::string& path) {
    fixtures::WaveBuilder().fmt(2, 48000, 16).data(19200, 16).write(path);
}

TEST(MediaReader, ScansNestedFoldersInPathOrderSkippingHiddenItems) {
    fixtures::TempDir card;
    const std::string root = card.path();
    // Written out of order; the scan sorts by full path. Extensions match in any case.
    for (const char* name : {"B/a.wav", "A/sub/z.WAV", "A/y.bwf", "c.Wav"})
        writeWave(card.file(name));
    copyMovie({.container = Container::Mp4}, card.file("A/CLIP.MP4"));
    copyMovie({.container = Container::Mxf}, card.file("B/C/D/E/deep.mxf"));
    // Not listed: hidden files and folders, other extensions, unreadable media.
    for (const char* name : {"._c.wav", ".Trash/x.wav", "notes.txt", "wav"})
        writeWave(card.file(name));
    fixtures::writeFile(card.file("A/broken.wav"), "RIFF....WAVE");
    fixtures::writeFile(card.file("B/broken.mov"), "moov");
    std::filesystem::create_directories(card.file("folder.mov"));

    EXPECT_EQ(paths(MediaReader::clips(root)),
              (Paths{root + "/A/CLIP.MP4", root + "/A/sub/z.WAV", root + "/A/y.bwf",
                     root + "/B/C/D/E/deep.mxf", root + "/B/a.wav", root + "/c.Wav"}));
    // A relative folder gives absolute paths too.
    EXPECT_EQ(paths(MediaReader::clips(std::filesystem::relative(card.file("B")).string())),
              (Paths{root + "/B/C/D/E/deep.mxf", root + "/B/a.wav"}));

    EXPECT_TRUE(MediaReader::clips(card.file("missing")).empty());
    std::filesystem::create_directories(card.file("empty/inner"));
    EXPECT_TRUE(MediaReader::clips(card.file("empty")).empty());
    EXPECT_EQ(MediaReader::folderProblem(root), std::nullopt);
    EXPECT_EQ(MediaReader::folderProblem(card.file("none")), "does not exist");
    EXPECT_EQ(MediaReader::folderProblem(card.file("c.Wav")), "is not a folder");
}

TEST(MediaReader, SonySidecarFirstMovieReaderAsFallback) {
    fixtures::TempDir card;
    const Paths movies = {card.file("C0001.MP4"), card.file("C0002.MP4"), card.file("C0003.MP4"),
                          card.file("C0004.MP4")};
    for (const auto& path : movies)
        copyMovie({.container = Container::Mp4}, path);
    fixtures::writeSonySidecar(movies[0], {.durationFrames = 500});
    // Unusable sidecars: no duration, not well formed; C0004 has none.
    fixtures::writeSonySidecar(movies[1], {.durationFrames = 0}, "M01.xml");
    fixtures::writeFile(card.file("C0003M01.XML"), "<NonRealTimeMeta><Duration value=\"5\">");

    const auto clips = MediaReader::clips(card.path());
    ASSERT_EQ(clips.size(), 4u);
    EXPECT_EQ(clips[0].model, "ILME-FX6V");
    EXPECT_EQ(clips[0].frames, 500);
    // The others come from the movie itself (C0004 has no sidecar), all alike.
    EXPECT_EQ(clips[3].frames, 25);
    EXPECT_EQ(clips[3].model, "");
    for (std::size_t i = 1; i < 3; ++i) {
        ClipFile expected = clips[3];
        expected.path = movies[i];
        EXPECT_EQ(clips[i], expected);
    }
}

TEST(MediaReader, ProgressAndAsynchronousScan) {
    fixtures::TempDir card;
    for (const char* name : {"take0.wav", "take1.wav", "take2.wav", "skip.txt"})
        writeWave(card.file(name));
    fixtures::writeFile(card.file("bad.wav"), "nothing");

    std::vector<std::pair<std::size_t, std::size_t>> steps;
    const auto blocking = MediaReader::clips(card.path(), {.progress = [&steps](const auto& p) {
                                                 steps.emplace_back(p.filesDone, p.filesTotal);
                                             }});
    EXPECT_EQ(blocking.size(), 3u);
    EXPECT_EQ(steps, (decltype(steps){{0, 4}, {1, 4}, {2, 4}, {3, 4}, {4, 4}}));

    EXPECT_EQ(MediaReader::clipsAsync(card.path()).result(), blocking);
}

} // namespace
} // namespace korvalume
