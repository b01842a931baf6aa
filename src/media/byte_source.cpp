#include "media/byte_source.h"

#include "base/file_path.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <cstring>
#include <limits>

namespace korvalume {

struct FileSource::Impl {
    QFile file;
};

FileSource::FileSource(const std::string& path) : impl_(std::make_unique<Impl>()) {
    // Unbuffered: Qt's read-ahead would pull in media data the readers skip.
    if (!filepath::openForReading(impl_->file, path, QIODevice::Unbuffered))
        impl_.reset();
}

FileSource::~FileSource() = default;

std::optional<std::size_t> FileSource::readAt(std::uint64_t offset, std::span<std::byte> out) {
    if (!impl_ || offset > std::uint64_t(std::numeric_limits<qint64>::max()))
        return std::nullopt;
    if (!impl_->file.seek(qint64(offset)))
        return std::nullopt;
    const qint64 got = impl_->file.read(reinterpret_cast<char*>(out.data()), qint64(out.size()));
    if (got < 0)
        return std::nullopt;
    return std::size_t(got);
}

std::optional<std::uint64_t> FileSource::size() {
    if (!impl_)
        return std::nullopt;
    return std::uint64_t(impl_->file.size());
}

std::optional<double> FileSource::birthTime() const {
    if (!impl_)
        return std::nullopt;
    const QDateTime born = impl_->file.fileTime(QFileDevice::FileBirthTime);
    if (!born.isValid())
        return std::nullopt;
    return double(born.toMSecsSinceEpoch()) / 1000.0;
}

std::optional<std::size_t> MemorySource::readAt(std::uint64_t offset, std::span<std::byte> out) {
    if (offset >= bytes_.size())
        return 0;
    const std::size_t count = std::min<std::size_t>(out.size(), bytes_.size() - offset);
    std::memcpy(out.data(), bytes_.data() + offset, count);
    return count;
}

std::optional<std::size_t> CountingSource::readAt(std::uint64_t offset, std::span<std::byte> out) {
    const auto got = inner_.readAt(offset, out);
    ++count_.reads;
    count_.bytes += got.value_or(0);
    return got;
}

} // namespace korvalume
