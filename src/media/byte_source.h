#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace korvalume {

// Positioned reads of one file. The readers only ever read through this, so
// tests, fuzzers and benchmarks can hand in bytes in memory or count the reads.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    // Reads up to out.size() bytes at `offset`: the count read (short at the
    // end of the file), or nullopt on an error.
    virtual std::optional<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> out) = 0;
    virtual std::optional<std::uint64_t> size() = 0;
};

// A file opened unbuffered, so every read is one small read of the drive. The path is
// the file system's bytes (base/file_path.h).
class FileSource final : public ByteSource {
public:
    explicit FileSource(const std::string& path);
    ~FileSource() override;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    bool isOpen() const { return impl_ != nullptr; }
    std::optional<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> out) override;
    std::optional<std::uint64_t> size() override;
    // When the file system says the file was made, in seconds since 1970, if it knows.
    std::optional<double> birthTime() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Bytes held by the caller, which must outlive the source.
class MemorySource final : public ByteSource {
public:
    explicit MemorySource(std::span<const std::byte> bytes) : bytes_(bytes) {}
    std::optional<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> out) override;
    std::optional<std::uint64_t> size() override { return bytes_.size(); }

private:
    std::span<const std::byte> bytes_;
};

struct ReadCount {
    std::uint64_t reads = 0;
    std::uint64_t bytes = 0;
};

// Passes reads through and counts what arrived.
class CountingSource final : public ByteSource {
public:
    explicit CountingSource(ByteSource& inner) : inner_(inner) {}
    std::optional<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> out) override;
    std::optional<std::uint64_t> size() override { return inner_.size(); }
    const ReadCount& count() const { return count_; }

private:
    ByteSource& inner_;
    ReadCount count_;
};

} // namespace korvalume
