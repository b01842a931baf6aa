#include "media/media_reader.h"
#include "support/media_fixtures.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <ranges>

namespace korvalume {
namespace {

using fixtures::Container;
using Paths = std::vector<std::string>;

Paths paths(const std::vector<ClipFile>& clips) {
    const auto view = std::views::transform(clips, &ClipFile::path);
    return Paths(view.begin(), view.end());
}

void copyMovie(Container container, const std::string& to) {
    std::filesystem::copy_file(fixtures::cachedMovie({.container = container}), to);
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
    copyMovie(Container::Mp4, card.file("A/CLIP.MP4"));
    copyMovie(Container::Mxf, card.file("B/C/D/E/deep.mxf"));
    // Not listed: hidden files and folders, other extensions, unreadable media.
    for (const char* name : {"._c.wav", ".Trash/x.wav", "notes.txt", "wav"})
        writeWave(card.file(name));
    fixtures::writeFile(card.file("A/broken.wav"), "RIFF....WAVE");
    fixtures::writeFile(card.file("B/broken.mov"), "moov");
    std::filesystem::create_directories(card.file("folder.mov"));

    EXPECT_EQ(paths(mediareader::clips(root)),
              (Paths{root + "/A/CLIP.MP4", root + "/A/sub/z.WAV", root + "/A/y.bwf",
                     root + "/B/C/D/E/deep.mxf", root + "/B/a.wav", root + "/c.Wav"}));
    // A relative folder gives absolute paths too.
    EXPECT_EQ(paths(mediareader::clips(std::filesystem::relative(card.file("B")).string())),
              (Paths{root + "/B/C/D/E/deep.mxf", root + "/B/a.wav"}));

    EXPECT_TRUE(mediareader::clips(card.file("missing")).empty());
    EXPECT_EQ(mediareader::folderProblem(root), std::nullopt);
    EXPECT_EQ(mediareader::folderProblem(card.file("none")), "does not exist");
    EXPECT_EQ(mediareader::folderProblem(card.file("c.Wav")), "is not a folder");
}

TEST(MediaReader, SonySidecarFirstMovieReaderAsFallback) {
    fixtures::TempDir card;
    // The sidecar's base name keeps inner dots: C0001.2M01.XML; C0002 spells it in lower case.
    Paths movies;
    for (const char* name : {"C0001.2.MP4", "C0002.MP4", "C0003.MP4", "C0004.MP4"})
        copyMovie(Container::Mp4, movies.emplace_back(card.file(name)));
    fixtures::writeSonySidecar(movies[0], {.durationFrames = 500});
    fixtures::writeSonySidecar(movies[1], {.durationFrames = 600}, "M01.xml");
    // C0003's sidecar is not well formed; C0004 has none.
    fixtures::writeFile(card.file("C0003M01.XML"), "<NonRealTimeMeta><Duration value=\"5\">");

    const auto clips = mediareader::clips(card.path());
    ASSERT_EQ(clips.size(), 4u);
    // The sidecars' frame counts; the others come from the movie itself, alike.
    EXPECT_EQ(std::tuple(clips[0].frames, clips[1].frames, clips[3].frames),
              std::tuple(500, 600, 25));
    ClipFile expected = clips[3];
    expected.path = movies[2];
    EXPECT_EQ(clips[2], expected);
}

} // namespace
} // namespace korvalume
