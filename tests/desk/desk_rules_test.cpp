#include "desk/desk_rules.h"
#include "support/shoot_builder.h"

#include <gtest/gtest.h>

namespace korvalume {
namespace {

using namespace testing;

TEST(DeskRules, AutosaveNamesKeepLettersNumbersAndSpaces) {
    SessionDoc doc = session("A/B:C");
    doc.id = *Uuid::parse("0C1D0000-0000-4000-8000-000000000000");
    EXPECT_EQ(deskrules::autosaveFileName(doc), "A-B-C 0C1D.korvalume");
    doc.name = "SHOOT 15/NOV \U0001F3AC é-1";
    EXPECT_EQ(deskrules::autosaveFileName(doc), "SHOOT 15-NOV - é-1 0C1D.korvalume");
}

TEST(DeskRules, ATypedNameIsTrimmedAndUpperCasedElseTodaysDefault) {
    EXPECT_EQ(deskrules::sessionName("  ", QDate(2026, 1, 2)), "SHOOT 2 JAN");
    EXPECT_EQ(deskrules::sessionName(" day two ", QDate(2026, 1, 2)), "DAY TWO");
}

TEST(DeskRules, ProposedNamesAreOneFileNameOnEverySystem) {
    SessionDoc doc = session("A/B: C?*");
    EXPECT_EQ(deskrules::proposedExportName(doc), "A-B- C-- SYNC MAP.xml");
    doc.name = "CON";
    EXPECT_EQ(deskrules::proposedLogName(doc), "CON-.korvalume");
    doc.name = "  ";
    EXPECT_EQ(deskrules::proposedLogName(doc), "Untitled.korvalume");
}

} // namespace
} // namespace korvalume
