#include "session/session_link.h"

#include <QByteArray>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace korvalume;

namespace {

const std::string sessionID = "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B";

SessionLink sampleLink() {
    return {*Uuid::parse(sessionID), "SHOOT 15 NOV", FrameRate{30, true},
            1700000000.12345,        3600,           "DESK-1"};
}

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

nlohmann::json payloadOf(const std::string& url) {
    const auto payload = QByteArray::fromStdString(url.substr(url.find("#j=") + 3));
    return nlohmann::json::parse(
        QByteArray::fromBase64(payload, QByteArray::Base64UrlEncoding).toStdString());
}

} // namespace

TEST(SessionLink, WebLinkCarriesTheVersionTwoArray) {
    SessionLink link = sampleLink();
    const std::string url = link.url();
    EXPECT_EQ(url.rfind(std::string(SessionLink::webApp) + "#j=", 0), 0u);
    EXPECT_EQ(url.find_first_of("+/=", url.find("#j=") + 3), std::string::npos);
    EXPECT_EQ(payloadOf(url).dump(),
              R"([2,")" + sessionID + R"(","SHOOT 15 NOV",30,1,1700000000.123,3600,"DESK-1"])");
    link.startedAt = 1700000000.123; // rounded to the millisecond
    EXPECT_EQ(SessionLink::parse(url), link);

    link.zone.reset();
    link.ownerID.reset();
    link.startedAt = -2.0005; // halves round away from zero
    const std::string bare = link.url();
    EXPECT_EQ(payloadOf(bare).dump(),
              R"([2,")" + sessionID + R"(","SHOOT 15 NOV",30,1,-2.001,null,null])");
    link.startedAt = -2.001;
    EXPECT_EQ(SessionLink::parse(bare), link);
}

TEST(SessionLink, ReadsPaddedUnpaddedAndShortPayloadsWithNulls) {
    SessionLink expected{*Uuid::parse(sessionID), "", FrameRate{25, false}, 1, {}, {}};
    // Payload lengths 0, 2 and 3 modulo 4 once the padding is dropped.
    for (const std::string name : {"A", "AB", "ABC"}) {
        const std::string json = R"([2,")" + sessionID + R"(",")" + name + R"(",25,0,1])";
        expected.name = name;
        for (bool padded : {false, true})
            EXPECT_EQ(SessionLink::parse(fragmentLink(json, padded)), expected) << json << padded;
    }
    expected.fps = FrameRate{24, true};
    EXPECT_EQ(SessionLink::parse(fragmentLink(
                  R"([2,"3f2a9c1d-5b6e-4f70-8a9b-0c1d2e3f4a5b","ABC",24,1,1,null,null,"extra"])")),
              expected);
}

TEST(SessionLink, ReadsTheKeyedFormBehindTheCustomScheme) {
    nlohmann::json keyed = sampleLink();
    keyed.erase("zone");
    keyed["ownerID"] = nullptr;
    const std::string payload = base64Url(keyed.dump());
    SessionLink expected = sampleLink();
    expected.zone.reset();
    expected.ownerID.reset();
    EXPECT_EQ(SessionLink::parse("korvalume://join/" + payload + "/"), expected);
    EXPECT_FALSE(SessionLink::parse("korvalume://open/" + payload));
    keyed.erase("name");
    EXPECT_FALSE(SessionLink::parse("korvalume://join/" + base64Url(keyed.dump())));
}

TEST(SessionLink, ChecksTheWholePayloadAndTakesTheLastOfARepeatedKey) {
    const std::string head = R"([2,")" + sessionID + R"(","A",25,0,1)";
    const auto nested = [](int depth) {
        return std::string(std::size_t(depth), '[') + std::string(std::size_t(depth), ']');
    };
    // Sixteen levels in all, the array itself included.
    EXPECT_TRUE(SessionLink::parse(fragmentLink(head + ",null,null," + nested(15) + "]")));
    for (const std::string& tail : {",null,null," + nested(16), std::string(",null,null,[1 2]"),
                                    std::string(",null,null,tru"), std::string(",1e999"),
                                    std::string(R"(,null,"\ud800")"), std::string("] x")})
        EXPECT_FALSE(SessionLink::parse(fragmentLink(head + tail + "]"))) << tail;
    // A zone or owner of the wrong type is left out.
    const auto loose = SessionLink::parse(fragmentLink(head + R"(,1.5,7])"));
    ASSERT_TRUE(loose);
    EXPECT_FALSE(loose->zone);
    EXPECT_FALSE(loose->ownerID);

    nlohmann::json keyed = sampleLink();
    const std::string base = keyed.dump();
    const std::string expectedName = R"("name":"SHOOT 15 NOV")";
    ASSERT_NE(base.find(expectedName), std::string::npos);
    // A wrong first value is replaced by a right one, and the other way round.
    std::string repeated = base;
    repeated.insert(1, R"("name":5,)");
    EXPECT_EQ(SessionLink::parse("korvalume://join/" + base64Url(repeated)), sampleLink());
    repeated = base;
    repeated.insert(repeated.size() - 1, R"(,"name":5)");
    EXPECT_FALSE(SessionLink::parse("korvalume://join/" + base64Url(repeated)));
    repeated = base;
    repeated.insert(repeated.size() - 1, R"(,"zone":"east")");
    EXPECT_FALSE(SessionLink::parse("korvalume://join/" + base64Url(repeated)));
    repeated = base;
    repeated.insert(repeated.size() - 1, R"(,"extra":[1,])");
    EXPECT_FALSE(SessionLink::parse("korvalume://join/" + base64Url(repeated)));
}

TEST(SessionLink, RefusesAnythingButAJoinLink) {
    const std::string nested = std::string(100, '[') + std::string(100, ']');
    for (const std::string& json : {
             R"([1,")" + sessionID + R"(","A",25,0,1])",   // version 1
             R"([2,")" + sessionID + R"(","A",25,0])",     // five elements
             std::string(R"([2,"3F2A9C1D","A",25,0,1])"),  // not a UUID
             R"([2,")" + sessionID + R"(","A",25.5,0,1])", // rate not whole
             R"([2,")" + sessionID + R"(","A",25,0,"1"])", // start not a number
             nested,
         })
        EXPECT_FALSE(SessionLink::parse(fragmentLink(json))) << json;
    for (const char* url :
         {"", "https://example.org/korvalume/app/", "https://example.org/#j=@@@@",
          "https://example.org/#j=A", "https://example.org/#k=WzJd", "korvalume://join/!!!"})
        EXPECT_FALSE(SessionLink::parse(url)) << url;
}
