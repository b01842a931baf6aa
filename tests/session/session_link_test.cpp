#include "session/session_link.h"

#include <QByteArray>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace korvalume;

namespace {

const std::string sessionID = "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B";
const SessionLink sample{*Uuid::parse(sessionID),         "SHOOT 15 NOV", FrameRate{30, true},
                         MasterInstant(1700000000.12345), 3600,           "DESK-1"};

std::string base64Url(const std::string& json, bool keepPadding = false) {
    QByteArray::Base64Options options = QByteArray::Base64UrlEncoding;
    if (!keepPadding)
        options |= QByteArray::OmitTrailingEquals;
    return QByteArray::fromStdString(json).toBase64(options).toStdString();
}

// Only the fragment matters, whatever the host and path.
std::string fragmentLink(const std::string& json, bool keepPadding = false) {
    return "https://example.org/anything/#j=" + base64Url(json, keepPadding);
}

std::string webLink(const std::string& json) {
    return std::string(SessionLink::webApp) + "#j=" + base64Url(json);
}

} // namespace

TEST(SessionLink, WebLinkCarriesTheVersionTwoArray) {
    SessionLink link = sample; // its start is rounded to the millisecond
    EXPECT_EQ(link.url(), webLink(R"([2,")" + sessionID +
                                  R"(","SHOOT 15 NOV",30,1,1700000000.123,3600,"DESK-1"])"));
    link.zone.reset();
    link.ownerID.reset();
    link.startedAt = MasterInstant(-2.0005); // halves round away from zero
    EXPECT_EQ(link.url(),
              webLink(R"([2,")" + sessionID + R"(","SHOOT 15 NOV",30,1,-2.001,null,null])"));
}

TEST(SessionLink, ReadsPaddedUnpaddedAndShortPayloadsLeavingOutAWrongTail) {
    SessionLink expected{*Uuid::parse(sessionID), "", FrameRate{25, false},
                         MasterInstant(1),        {}, {}};
    // Payload lengths 0, 2 and 3 modulo 4 once the padding is dropped.
    for (const std::string name : {"A", "AB", "ABC"}) {
        const std::string json = R"([2,")" + sessionID + R"(",")" + name + R"(",25,0,1])";
        expected.name = name;
        for (bool padded : {false, true})
            EXPECT_EQ(SessionLink::parse(fragmentLink(json, padded)), expected) << json << padded;
    }
    // A zone or owner of the wrong type is left out; further elements are passed over.
    expected.fps = FrameRate{24, true};
    EXPECT_EQ(SessionLink::parse(fragmentLink(
                  R"([2,"3f2a9c1d-5b6e-4f70-8a9b-0c1d2e3f4a5b","ABC",24,1,1,1.5,7,"extra"])")),
              expected);
}

TEST(SessionLink, RefusesAnythingButAWholeJoinLink) {
    const std::string head = R"([2,")" + sessionID + R"(","A",25,0,1)";
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + std::string(depth, ']');
    };
    // Sixteen levels in all, the array itself included.
    EXPECT_TRUE(SessionLink::parse(fragmentLink(head + ",null,null," + nested(15) + "]")));
    for (const std::string& json : {
             head + ",null,null," + nested(16) + "]", head + ",null,null,[1 2]]",
             head + ",null,null,tru]", head + ",1e999]", head + R"(,null,"\ud800"])", head + "]] x",
             R"([1,")" + sessionID + R"(","A",25,0,1])",   // version 1
             R"([2,")" + sessionID + R"(","A",25,0])",     // five elements
             std::string(R"([2,"3F2A9C1D","A",25,0,1])"),  // not a UUID
             R"([2,")" + sessionID + R"(","A",25.5,0,1])", // rate not whole
             R"([2,")" + sessionID + R"(","A",25,0,"1"])", // start not a number
         })
        EXPECT_FALSE(SessionLink::parse(fragmentLink(json))) << json;
    for (const char* url :
         {"", "https://example.org/korvalume/app/", "https://example.org/#j=@@@@",
          "https://example.org/#j=A", "https://example.org/#k=WzJd", "korvalume://join/!!!"})
        EXPECT_FALSE(SessionLink::parse(url)) << url;

    // In the keyed form the last of a repeated key counts, right or wrong.
    const std::string keyed = nlohmann::json(sample).dump();
    const auto customLink = [](const std::string& json) {
        return "korvalume://join/" + base64Url(json);
    };
    EXPECT_EQ(SessionLink::parse(customLink(R"({"name":5,)" + keyed.substr(1))), sample);
    for (const char* tail : {R"(,"name":5})", R"(,"zone":"east"})", R"(,"extra":[1,]})"})
        EXPECT_FALSE(SessionLink::parse(customLink(keyed.substr(0, keyed.size() - 1) + tail)))
            << tail;
}
