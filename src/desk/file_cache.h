#pragma once

#include "desk/file_stamp.h"

#include <mutex>
#include <optional>
#include <unordered_map>
#include <utility>

namespace korvalume {

// Slow measurements of files, kept while each file is unchanged: a card read again, or
// re-planned, measures only what is new. Safe to use from the threads that read cards.
template <class Measurement> class FileCache {
public:
    std::optional<Measurement> find(const FileStamp& stamp) const {
        const std::lock_guard lock(mutex_);
        const auto found = entries_.find(stamp);
        if (found == entries_.end())
            return std::nullopt;
        return std::optional<Measurement>(std::in_place, found->second);
    }

    void store(const FileStamp& stamp, Measurement measurement) {
        const std::lock_guard lock(mutex_);
        entries_.insert_or_assign(stamp, std::move(measurement));
    }

    std::size_t size() const {
        const std::lock_guard lock(mutex_);
        return entries_.size();
    }

private:
    mutable std::mutex mutex_;
    std::unordered_map<FileStamp, Measurement> entries_;
};

} // namespace korvalume
