#include "session/session_link.h"
#include "session_builders.h"

#include <QByteArray>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace korvalume;
using namespace korvalume::testing;

namespace {

SessionLink sampleLink() {
    SessionLink link;
    link.id = *Uuid::parse("3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B");
    link.name = "SHOOT 15 NOV";
    link.fps = FrameRate{30, true};
    link.startedAt = 1700000000.12345;
    link.zone = 3600;
    link.ownerID = "DESK-1";
    return link;
}

// The web link's payload for a JSON text, with its "=" padding dropped or kept.
std::string fragmentLink(std::string_view json, bool keepPadding = false) {
    QByteArray::Base64Options options = QByteArray::Base64UrlEncoding;
    if (!keepPadding)
        options |= QByteArray::OmitTrailingEquals;
    const auto payload = QByteArray(json.data(), qsizetype(json.size())).toBase64(options);
    return "https://example.org/anything/#j=" + payload.toStdString();
}

std::string customSchemeLink(std::string_view json, std::string_view host = "join") {
    const auto payload =
        QByteArray(json.data(), qsizetype(json.size()))
            .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    return "korvalume://" + std::string(host) + "/" + payload.toStdString();
}

nlohmann::json payloadOf(const std::string& url) {
    const auto at = url.find("#j=");
    const auto bytes = QByteArray::fromBase64(QByteArray::fromStdString(url.substr(at + 3)),
                                              QByteArray::Base64UrlEncoding);
    return nlohmann::json::parse(bytes.toStdString());
}

} // namespace

TEST(SessionLink, WebLinkCarriesTheVersionTwoArray) {
    const SessionLink link = sampleLink();
    const std::string url = link.url();
    EXPECT_EQ(url.rfind("https://", 0), 0u);
    EXPECT_NE(url.find("/korvalume/app/#j="), std::string::npos);
    EXPECT_EQ(url.find_first_of("+/=", url.find("#j=") + 3), std::string::npos);
    EXPECT_EQ(payloadOf(url),
              nlohmann::json::parse(R"([2,"3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B",)"
                                    R"("SHOOT 15 NOV",30,1,1700000000.123,3600,"DESK-1"])"));

    // Read back, the start is rounded to the millisecond.
    SessionLink expected = link;
    expected.startedAt = 1700000000.123;
    EXPECT_EQ(SessionLink::parse(url), expected);

    SessionLink bare = link;
    bare.zone.reset();
    bare.ownerID.reset();
    bare.startedAt = -2.0005; // halves round away from zero
    const auto array = payloadOf(bare.url());
    EXPECT_TRUE(array[6].is_null());
    EXPECT_TRUE(array[7].is_null());
    EXPECT_EQ(array[5].get<double>(), -2.001);
    const auto read = SessionLink::parse(bare.url());
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->zone);
    EXPECT_FALSE(read->ownerID);
}

TEST(SessionLink, ReadsPaddedUnpaddedAndShortPayloads) {
    // Payload lengths 0, 2 and 3 modulo 4 once the padding is dropped.
    for (const std::string json : {R"([2,"3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B","A",25,0,1])",
                                   R"([2,"3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B","AB",25,0,1])",
                                   R"([2,"3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B","ABC",25,0,1])"}) {
        for (bool padded : {false, true}) {
            const auto link = SessionLink::parse(fragmentLink(json, padded));
            ASSERT_TRUE(link) << json << " padded " << padded;
            EXPECT_EQ(link->fps, (FrameRate{25, false}));
            EXPECT_EQ(link->startedAt, 1);
            EXPECT_FALSE(link->zone);
            EXPECT_FALSE(link->ownerID);
        }
    }
    const auto withNulls = SessionLink::parse(fragmentLink(
        R"([2,"3f2a9c1d-5b6e-4f70-8a9b-0c1d2e3f4a5b","A",24,1,5.5,null,null,"extra"])"));
    ASSERT_TRUE(withNulls);
    EXPECT_EQ(withNulls->fps, (FrameRate{24, true}));
    EXPECT_FALSE(withNulls->zone);
    EXPECT_FALSE(withNulls->ownerID);
}

TEST(SessionLink, RefusesAnythingButAJoinLink) {
    const std::string nested = std::string(100, '[') + std::string(100, ']');
    const char* badArrays[] = {
        R"([1,"3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B","A",25,0,1])",     // version 1
        R"([2,"3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B","A",25,0])",       // five elements
        R"([2,"3F2A9C1D","A",25,0,1])",                                 // not a UUID
        R"([2,"3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B",7,25,0,1])",       // name not text
        R"([2,"3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B","A",25.5,0,1])",   // rate not whole
        R"([2,"3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B","A",25,false,1])", // flag not a number
        R"([2,"3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B","A",25,0,"1"])",   // start not a number
        R"({"v":2})",
        nested.c_str(),
    };
    for (const char* json : badArrays)
        EXPECT_FALSE(SessionLink::parse(fragmentLink(json))) << json;

    for (const char* url :
         {"", "not a url", "https://example.org/korvalume/app/",
          "https://example.org/#j=", "https://example.org/#j=@@@@", "https://example.org/#j=A",
          "https://example.org/#k=WzJd", "korvalume://join/", "korvalume://join/!!!"})
        EXPECT_FALSE(SessionLink::parse(url)) << url;
}

TEST(SessionLink, CustomSchemeCarriesTheKeyedForm) {
    nlohmann::json keyed = sampleLink();
    EXPECT_EQ(keyed["id"], "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B");
    EXPECT_EQ(keyed["fps"], (nlohmann::json{{"ntsc", true}, {"timebase", 30}}));
    EXPECT_EQ(SessionLink::parse(customSchemeLink(keyed.dump())), sampleLink());
    EXPECT_EQ(SessionLink::parse(customSchemeLink(keyed.dump()) + "/"), sampleLink());
    EXPECT_FALSE(SessionLink::parse(customSchemeLink(keyed.dump(), "open")));

    keyed.erase("zone");
    keyed["ownerID"] = nullptr;
    auto read = SessionLink::parse(customSchemeLink(keyed.dump()));
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->zone);
    EXPECT_FALSE(read->ownerID);

    keyed.erase("name");
    EXPECT_FALSE(SessionLink::parse(customSchemeLink(keyed.dump())));
    EXPECT_FALSE(SessionLink::parse(customSchemeLink("[1,2]")));
}
