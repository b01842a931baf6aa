#pragma once

// Reads an xmeml document back and checks what every one must hold: well-formed text, unique
// clip item ids, each file described in full once before any reference, links to clip items.

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace korvalume::testing {

// Leaf texts below one element by path ("start", "timecode/string"); the first of each.
using XmlFields = std::map<std::string, std::string>;

struct XmemlItem {
    std::string id, fileId;
    XmlFields fields;      // "name", "start", "sourcetrack/trackindex", ...
    bool fullFile = false; // the item holds the file's full description
    std::vector<std::string> links;
};

struct Xmeml {
    XmlFields sequence;
    std::vector<std::vector<XmemlItem>> videoTracks, audioTracks;
    std::map<std::string, XmlFields> files; // full descriptions by id
    std::vector<XmlFields> markers;
};

// The parsed document, or nullopt after a failed gtest assertion naming what is wrong.
std::optional<Xmeml> readXmeml(const std::string& xml);

// Each item as "clipitem-30 file-1", with " full" where it describes the file.
std::vector<std::string> fileUse(const std::vector<XmemlItem>& track);

} // namespace korvalume::testing
