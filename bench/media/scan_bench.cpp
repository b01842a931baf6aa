// Scans a generated card of 1,000 mixed clips with mediareader::clips and with
// one ffprobe run per file, and counts the bytes each reader takes from a file.
#include "media/bwf_meta.h"
#include "media/media_reader.h"
#include "media/movie_meta.h"
#include "support/media_fixtures.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>

namespace korvalume {
namespace {

namespace fs = std::filesystem;
using fixtures::Container;

const std::string cacheRoot = KORVALUME_BENCH_CACHE;
constexpr int filesPerKind = 200; // five kinds: 1,000 files

struct Sample {
    std::string kind;
    std::string path;
};

// The base files, each made once with ffmpeg; the card copies them.
std::vector<Sample> baseFiles() {
    const std::string base = cacheRoot + "/base";
    fs::create_directories(base);
    std::vector<Sample> samples;
    const auto movie = [&](const std::string& kind, const std::string& name,
                           fixtures::MovieSpec recipe) {
        const std::string path = base + "/" + name;
        if (!fs::exists(path))
            fixtures::makeMovie(path, recipe);
        samples.push_back({kind, path});
    };
    for (double seconds : {2.0, 120.0}) {
        const std::string length = seconds < 10 ? "2s" : "120s";
        movie("mp4 " + length, "clip" + length + ".mp4",
              {.container = Container::Mp4,
               .rate = {25, false},
               .seconds = seconds,
               .width = 320,
               .height = 180,
               .creationTime = "2024-05-01T10:00:00Z",
               .withAudio = true});
        movie("mov " + length, "clip" + length + ".mov",
              {.container = Container::Mov,
               .rate = {24, true},
               .seconds = seconds,
               .width = 320,
               .height = 180,
               .withAudio = true});
        movie("mxf " + length, "clip" + length + ".mxf",
              {.container = Container::Mxf,
               .rate = {30, true},
               .timecode = "10:00:00;00",
               .seconds = seconds,
               .width = 320,
               .height = 176,
               .withAudio = true});
    }
    const auto wave = [&](const std::string& kind, const std::string& name,
                          fixtures::WaveSpec recipe) {
        const std::string path = base + "/" + name;
        if (!fs::exists(path))
            fixtures::makeWave(path, recipe);
        samples.push_back({kind, path});
    };
    wave("wav 2s", "take2s.wav", {.seconds = 2, .channels = 2, .timeReference = 172'800'000});
    wave("rf64 2s", "take2s-rf64.wav",
         {.seconds = 2, .channels = 2, .timeReference = 172'800'000, .rf64 = true});
    wave("wav 120s", "take120s.wav", {.seconds = 120, .channels = 2, .timeReference = 172'800'000});
    return samples;
}

// 1,000 files in a card's folder layout: MP4 with Sony sidecars, MOV, MXF, WAV, RF64.
std::string card() {
    const std::string root = cacheRoot + "/card";
    const std::string done = root + "/.complete";
    if (fs::exists(done))
        return root;
    fs::remove_all(root);
    const auto samples = baseFiles();
    const auto find = [&](const std::string& kind) {
        for (const auto& sample : samples)
            if (sample.kind == kind)
                return sample.path;
        return std::string();
    };
    for (int i = 0; i < filesPerKind; ++i) {
        char number[8];
        std::snprintf(number, sizeof number, "%04d", i + 1);
        const std::string n = number;
        const std::string sony = root + "/XDROOT/Clip/C" + n + ".MP4";
        fs::create_directories(fs::path(sony).parent_path());
        fs::copy_file(find("mp4 2s"), sony);
        fixtures::writeSonySidecar(sony, {.durationFrames = 50});
        fs::create_directories(root + "/DCIM/100CANON");
        fs::copy_file(find("mov 2s"), root + "/DCIM/100CANON/MVI_" + n + ".MOV");
        fs::create_directories(root + "/CONTENTS/CLIPS001");
        fs::copy_file(find("mxf 2s"), root + "/CONTENTS/CLIPS001/A001C" + n + ".MXF");
        fs::create_directories(root + "/SOUND");
        fs::copy_file(find("wav 2s"), root + "/SOUND/T" + n + ".WAV");
        fs::copy_file(find("rf64 2s"), root + "/SOUND/L" + n + ".WAV");
    }
    fixtures::writeFile(done, "");
    return root;
}

std::vector<std::string> cardFiles(const std::string& root) {
    std::vector<std::string> files;
    QDirIterator items(QString::fromStdString(root), QDir::Files, QDirIterator::Subdirectories);
    while (items.hasNext()) {
        const QString path = items.next();
        if (!path.endsWith(".XML") && !path.endsWith(".complete"))
            files.push_back(path.toStdString());
    }
    return files;
}

double scanSeconds = 0;
double probeSeconds = 0;
std::size_t scanFiles = 0;
std::size_t probeFiles = 0;

void BM_ScanCard(benchmark::State& state) {
    const std::string root = card();
    std::size_t found = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        found = mediareader::clips(root).size();
        scanSeconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        benchmark::DoNotOptimize(found);
    }
    scanFiles = found;
    state.counters["files"] = double(found);
    state.counters["files_per_s"] =
        benchmark::Counter(double(found) * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ScanCard)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

void BM_FfprobeCard(benchmark::State& state) {
    const auto files = cardFiles(card());
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        for (const std::string& file : files) {
            QProcess probe;
            probe.start("ffprobe", {"-v", "error", "-show_format", "-show_streams",
                                    QString::fromStdString(file)});
            probe.waitForFinished(30'000);
            benchmark::DoNotOptimize(probe.readAllStandardOutput());
        }
        probeSeconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    probeFiles = files.size();
    state.counters["files_per_s"] = benchmark::Counter(
        double(files.size()) * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_FfprobeCard)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

// Bytes each reader takes from one file of each kind and length.
void reportBytesRead() {
    std::printf("\nBytes read per file (reads / bytes / file size):\n");
    for (const Sample& sample : baseFiles()) {
        FileSource file(sample.path);
        CountingSource counted(file);
        const bool audio = sample.kind.starts_with("wav") || sample.kind.starts_with("rf64");
        const bool read = audio ? bwfmeta::read(counted, sample.path, std::nullopt).has_value()
                                : moviemeta::read(counted, sample.path).has_value();
        std::printf("  %-9s %s %6llu reads %9llu bytes of %11llu\n", sample.kind.c_str(),
                    read ? "ok  " : "FAIL", (unsigned long long)counted.count().reads,
                    (unsigned long long)counted.count().bytes,
                    (unsigned long long)file.size().value_or(0));
    }
}

} // namespace
} // namespace korvalume

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    using namespace korvalume;
    reportBytesRead();
    if (scanFiles > 0 && probeFiles > 0 && scanSeconds > 0) {
        const double scanPerFile = scanSeconds / double(scanFiles);
        const double probePerFile = probeSeconds / double(probeFiles);
        std::printf("\nPer file: mediareader::clips %.3f ms, ffprobe %.3f ms, ratio %.1fx\n",
                    scanPerFile * 1e3, probePerFile * 1e3, probePerFile / scanPerFile);
    }
    return 0;
}
