#include "xmeml_reader.h"

#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <set>

namespace korvalume::testing {

std::vector<std::string> ids(const std::vector<XmemlItem>& track) {
    std::vector<std::string> out;
    for (const auto& item : track)
        out.push_back(item.id);
    return out;
}

std::optional<Xmeml> readXmeml(const std::string& xml) {
    QXmlStreamReader reader(QByteArray::fromRawData(xml.data(), qsizetype(xml.size())));
    Xmeml doc;
    std::vector<std::string> path;
    std::vector<bool> hasChild;
    std::string text;
    // Where leaf texts go: the innermost open sequence, marker, clip item or file.
    struct Scope {
        XmlFields* fields;
        std::size_t depth;
    };
    std::vector<Scope> scopes;
    std::vector<std::vector<XmemlItem>>* tracks = nullptr;
    XmemlItem item;
    XmlFields file;
    std::set<std::string> itemIds;
    std::vector<std::string> links;
    bool ok = true;
    const auto fail = [&](const std::string& why) {
        ADD_FAILURE() << why;
        ok = false;
    };

    while (!reader.atEnd() && ok) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::StartElement) {
            const std::string name = reader.name().toString().toStdString();
            const std::string parent = path.empty() ? "" : path.back();
            if (!hasChild.empty())
                hasChild.back() = true;
            path.push_back(name);
            hasChild.push_back(false);
            text.clear();
            const std::string id = reader.attributes().value("id").toString().toStdString();
            if (name == "sequence") {
                scopes.push_back({&doc.sequence, path.size()});
            } else if (name == "track") {
                tracks = parent == "video" ? &doc.videoTracks : &doc.audioTracks;
                tracks->emplace_back();
            } else if (name == "marker") {
                doc.markers.emplace_back();
                scopes.push_back({&doc.markers.back(), path.size()});
            } else if (name == "clipitem") {
                item = {};
                item.id = id;
                if (!itemIds.insert(id).second)
                    fail("clip item id " + id + " is used twice");
                scopes.push_back({&item.fields, path.size()});
            } else if (name == "file" && parent == "clipitem") {
                item.fileId = id;
                file = {};
                scopes.push_back({&file, path.size()});
            } else if (parent == "file" && path.size() == scopes.back().depth + 1) {
                item.fullFile = true;
            }
        } else if (token == QXmlStreamReader::Characters) {
            text += reader.text().toString().toStdString();
        } else if (token == QXmlStreamReader::EndElement) {
            const std::string name = path.back();
            const Scope scope = scopes.empty() ? Scope{nullptr, 0} : scopes.back();
            if (!hasChild.back() && scope.fields && path.size() > scope.depth) {
                std::string relative;
                for (std::size_t i = scope.depth; i < path.size(); ++i)
                    relative += (relative.empty() ? "" : "/") + path[i];
                scope.fields->try_emplace(relative, text);
                if (relative == "link/linkclipref") {
                    item.links.push_back(text);
                    links.push_back(text);
                }
            }
            if (scope.fields && path.size() == scope.depth) {
                scopes.pop_back();
                if (name == "file") {
                    const bool known = doc.files.count(item.fileId) != 0;
                    if (item.fullFile && known)
                        fail(item.fileId + " is described in full twice");
                    if (!item.fullFile && !known)
                        fail(item.id + " refers to " + item.fileId + " before its description");
                    if (item.fullFile)
                        doc.files[item.fileId] = file;
                } else if (name == "clipitem") {
                    if (!tracks || tracks->empty())
                        fail("clip item " + item.id + " outside a track");
                    else
                        tracks->back().push_back(item);
                }
            }
            path.pop_back();
            hasChild.pop_back();
            text.clear();
        }
    }
    if (reader.hasError()) {
        ADD_FAILURE() << "not well-formed XML at line " << reader.lineNumber() << ": "
                      << reader.errorString().toStdString();
        return std::nullopt;
    }
    for (const auto& link : links)
        if (!itemIds.count(link))
            fail("a link points at the missing clip item " + link);
    if (!ok)
        return std::nullopt;
    return doc;
}

} // namespace korvalume::testing
