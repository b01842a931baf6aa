#include "support/xmeml_reader.h"

#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <set>

namespace korvalume::testing {
namespace {

struct Node {
    std::string name, id, text;
    std::vector<Node> children;
};

Node readElement(QXmlStreamReader& reader) {
    Node node{.name = reader.name().toString().toStdString(),
              .id = reader.attributes().value("id").toString().toStdString()};
    while (reader.readNext() != QXmlStreamReader::EndElement && !reader.hasError()) {
        if (reader.isStartElement())
            node.children.push_back(readElement(reader));
        else if (reader.isCharacters())
            node.text += reader.text().toString().toStdString();
    }
    return node;
}

// Clip items, markers and files are records of their own.
void collect(const Node& node, const std::string& prefix, XmlFields& fields) {
    for (const auto& child : node.children) {
        if (child.name == "clipitem" || child.name == "marker" || child.name == "file")
            continue;
        if (child.children.empty())
            fields.try_emplace(prefix + child.name, child.text);
        else
            collect(child, prefix + child.name + "/", fields);
    }
}

} // namespace

std::optional<Xmeml> readXmeml(const std::string& xml) {
    QXmlStreamReader reader(QByteArray::fromRawData(xml.data(), qsizetype(xml.size())));
    Node root;
    while (reader.readNext() != QXmlStreamReader::EndDocument && !reader.hasError())
        if (reader.isStartElement())
            root.children.push_back(readElement(reader));
    if (reader.hasError() || root.children.empty()) {
        ADD_FAILURE() << "xmeml: not well-formed XML at line " << reader.lineNumber() << ": "
                      << reader.errorString().toStdString();
        return std::nullopt;
    }

    Xmeml doc;
    std::set<std::string> itemIds;
    std::vector<std::string> links;
    std::string problems;
    const auto readItem = [&](const Node& node) {
        XmemlItem item{.id = node.id};
        if (!itemIds.insert(node.id).second)
            problems += " " + node.id + " is used twice;";
        collect(node, "", item.fields);
        for (const auto& part : node.children) {
            if (part.name == "link" && !part.children.empty())
                links.push_back(item.links.emplace_back(part.children.front().text));
            if (part.name != "file")
                continue;
            item.fileId = part.id;
            item.fullFile = !part.children.empty();
            if (item.fullFile == (doc.files.count(part.id) == 1))
                problems += " " + node.id + " describes " + part.id + " again or too early;";
            if (item.fullFile)
                collect(part, "", doc.files[part.id]);
        }
        return item;
    };
    for (const auto& sequence : root.children[0].children) {
        collect(sequence, "", doc.sequence);
        for (const auto& part : sequence.children) {
            if (part.name == "marker")
                collect(part, "", doc.markers.emplace_back());
            if (part.name != "media")
                continue;
            for (const auto& kind : part.children)
                for (const auto& track : kind.children) {
                    if (track.name != "track")
                        continue;
                    auto& items =
                        (kind.name == "video" ? doc.videoTracks : doc.audioTracks).emplace_back();
                    for (const auto& clip : track.children)
                        if (clip.name == "clipitem")
                            items.push_back(readItem(clip));
                }
        }
    }
    for (const auto& link : links)
        if (!itemIds.count(link))
            problems += " a link points at the missing " + link + ";";
    if (!problems.empty()) {
        ADD_FAILURE() << "xmeml:" << problems;
        return std::nullopt;
    }
    return doc;
}

std::vector<std::string> fileUse(const std::vector<XmemlItem>& track) {
    std::vector<std::string> out;
    for (const auto& item : track)
        out.push_back(item.id + " " + item.fileId + (item.fullFile ? " full" : ""));
    return out;
}

} // namespace korvalume::testing
