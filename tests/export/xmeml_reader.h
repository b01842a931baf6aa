#pragma once

// Reads a written xmeml document back with Qt's XML parser and checks what
// every document must hold: well-formed text, unique clip item ids, every file
// described in full exactly once before any short reference to it, and every
// link pointing at an existing clip item.

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace korvalume::testing {

// Text of the leaf elements under one element, by path below it ("start",
// "timecode/string"); the first occurrence of each path.
struct XmlFields : std::map<std::string, std::string> {
    std::int64_t number(const std::string& path) const { return std::stoll(at(path)); }
};

struct XmemlItem {
    std::string id;
    XmlFields fields; // "name", "start", "end", "sourcetrack/trackindex", ...
    std::string fileId;
    bool fullFile = false; // the item holds the file's full description
    std::vector<std::string> links;
};

struct Xmeml {
    XmlFields sequence; // "name", "duration", "timecode/string", ...
    std::vector<std::vector<XmemlItem>> videoTracks, audioTracks;
    std::map<std::string, XmlFields> files; // full descriptions by id
    std::vector<XmlFields> markers;
};

// The parsed document, or nullopt after a failed gtest assertion naming what is wrong.
std::optional<Xmeml> readXmeml(const std::string& xml);

std::vector<std::string> ids(const std::vector<XmemlItem>& track);

} // namespace korvalume::testing
