#include "live/peer_frame_reader.h"
#include "live/peer_protocol.h"

#include <gtest/gtest.h>

namespace korvalume {
namespace {

using namespace peerprotocol;

const Uuid sampleSession = *Uuid::parse("6f9619ff-8b86-d011-b42d-00c04fc964ff");

TEST(PeerNames, DisplayNameIsCutAndTaggedWithTheDevice) {
    EXPECT_EQ(peerDisplayName("Studio Mac", "1A2B3C4D-0000"), "Studio Mac#1A2B");
    EXPECT_EQ(peerDisplayName("An operator with a very long name", "ABCDEF"),
              "An operator with a very #ABCD");
    EXPECT_EQ(peerDisplayName("Cam", "9F"), "Cam#9F");
    // Whole characters: an accent written as a combining mark stays with its letter.
    const QString accented = QString(23, QLatin1Char('x')) + QStringLiteral("e\u0301 more");
    EXPECT_EQ(peerDisplayName(accented, "ABCD"),
              QString(23, QLatin1Char('x')) + QStringLiteral("e\u0301#ABCD"));
    // 24 four-byte characters would not fit one DNS-SD label of 63 bytes.
    const QString cut = peerDisplayName(QString::fromUcs4(U"\U0001F3AC").repeated(30), "ABCD");
    EXPECT_LE(cut.toUtf8().size(), maxInstanceNameBytes);
    EXPECT_TRUE(cut.endsWith(QStringLiteral("\U0001F3AC#ABCD")));
}

TEST(PeerNames, TheNameThatSortsFirstInvitesByUtf8Bytes) {
    EXPECT_TRUE(peerInvites("Alpha#1111", "Bravo#2222"));
    EXPECT_FALSE(peerInvites("Bravo#2222", "Alpha#1111"));
    EXPECT_FALSE(peerInvites("Same#1111", "Same#1111"));
    // Byte order, not a locale's: upper case before lower case, ASCII before accents.
    EXPECT_TRUE(peerInvites("Zed#1", "alpha#1"));
    EXPECT_TRUE(peerInvites("Zoe#1", QStringLiteral("\u00C9mile#1")));
    // Characters outside the BMP sort by code point, where UTF-16 order would differ.
    EXPECT_TRUE(peerInvites(QStringLiteral("\uFF21#1"), QString::fromUcs4(U"\U0001F3AC#1")));
}

TEST(PeerKeys, TagAndKeyMatchTheDocumentedVectors) {
    // Computed independently with Python's hashlib and hmac over the upper-case text.
    EXPECT_EQ(sessionTag(sampleSession), "a837ea0e40ce54f0");
    EXPECT_EQ(preSharedKey(sampleSession).toHex(),
              "e74be10195488e23c6aaaf5a4a16654d56ec0bffb562c1ae01247005307ae6ef");
    const Uuid other = *Uuid::parse("6F9619FF-8B86-D011-B42D-00C04FC964FE");
    EXPECT_NE(sessionTag(other), sessionTag(sampleSession));
    EXPECT_NE(preSharedKey(other), preSharedKey(sampleSession));
}

TEST(FrameReaderTest, CutsFramesWhateverTheChunking) {
    const QByteArray stream = encodeFrame("first") + encodeFrame("") + encodeFrame("third one");
    ASSERT_EQ(stream.left(4), QByteArray("\x00\x00\x00\x05", 4));
    for (const qsizetype chunk : {qsizetype(1), qsizetype(3), stream.size()}) {
        FrameReader reader(maxFrameLength);
        std::vector<std::string> frames;
        for (qsizetype at = 0; at < stream.size(); at += chunk) {
            reader.append(stream.mid(at, chunk));
            while (auto frame = reader.next())
                frames.push_back(*frame);
        }
        EXPECT_EQ(frames, (std::vector<std::string>{"first", "", "third one"})) << chunk;
        EXPECT_EQ(reader.buffered(), 0u);
        EXPECT_FALSE(reader.oversized());
    }
}

} // namespace
} // namespace korvalume
