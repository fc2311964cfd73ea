// The display-free rules behind the window's daily use: passwords masked in the box and never stored, edits
// of the masked box replayed on the real string, what the version boxes take, and the remembered folder.
#include <gtest/gtest.h>

#include "db/connection_string_pairs.h"
#include "report/report_paths.h"
#include "session/connection_string_box.h"
#include "session/remembered_settings.h"
#include "session/version_box_input.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using namespace testsupport;

TEST(ConnectionStringPairs, PasswordsAreMaskedOneStarPerCharacterAndLeftOutOfStorage) {
    const struct {
        const char *text, *masked, *stored;
    } cases[] = {
        {"Driver=X;Server=s;UID=u;PWD=secret;", "Driver=X;Server=s;UID=u;PWD=******;",
         "Driver=X;Server=s;UID=u;"},
        {"Provider=MSDASQL;Server=TSLGIS;User Id=tsl;Password=kqv",
         "Provider=MSDASQL;Server=TSLGIS;User Id=tsl;Password=***",
         "Provider=MSDASQL;Server=TSLGIS;User Id=tsl;"},
        {"pwd={a;b}}c};Database=gis", "pwd=********;Database=gis", "Database=gis"},
        {" Password = \xC3\xA9t\xC3\xA9;UID=u", " Password =****;UID=u", "UID=u"},  // a blank, three letters
        {"PWD=;PWDX=1;;junk", "PWD=;PWDX=1;;junk", "PWDX=1;;junk"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(MaskPasswords(c.text), c.masked) << c.text;
        EXPECT_EQ(WithoutPasswords(c.text), c.stored) << c.text;
    }
    EXPECT_EQ(ConnectionStringValue("DSN=a;Servername= {db;1} ;Database=gis", {"server", "servername"}),
              "db;1");
    EXPECT_EQ(ConnectionStringValue("Driver=X;UID=u", {"database"}), "");
}

TEST(ConnectionStringBox, AnEditOfTheMaskedTextKeepsTheHiddenCharacters) {
    const struct {
        const char *real, *shownAfter;
        std::size_t cursor;
        const char* expected;
    } cases[] = {
        {"UID=u;PWD=ab;", "UID=u;PWD=**c;", 13, "UID=u;PWD=abc;"},  // typed at the end of the password
        {"UID=u;PWD=ab;", "UID=u;PWD=***;", 11, "UID=u;PWD=*ab;"},  // a "*" typed before it
        {"UID=u;PWD=ab;", "UID=u;PWD=*;", 10, "UID=u;PWD=b;"},      // backspace after the first character
        {"UID=u;PWD=ab;", "UID=v;PWD=**;", 5, "UID=v;PWD=ab;"},     // an edit elsewhere
        {"UID=u;PWD=ab;", "UID=u;Database=d;PWD=**;", 17, "UID=u;Database=d;PWD=ab;"},
        {"UID=u;PWD=ab;", "Driver=Y", 8, "Driver=Y"},  // everything replaced by a paste
        {"PWD=\xC3\xA9\xC3\xA9", "PWD=*", 5, "PWD=\xC3\xA9"},
    };
    for (const auto& c : cases) {
        RecordingInteraction ui;
        MainState state(ui, nullptr);
        state.txtConnString = c.real;
        ShownConnectionStringEdited(state, c.shownAfter, c.cursor);
        EXPECT_EQ(state.txtConnString, c.expected) << c.shownAfter;
        EXPECT_TRUE(state.cmdConnectEnabled);
    }
}

TEST(VersionBoxes, OnlyNumbersTheConversionTakesGoInAndADottedVersionFillsTheBoxesInTurn) {
    const struct {
        VersionBox box;
        const char* before;  // major.minor.bugfix as the boxes hold them, "|" between
        const char* text;
        bool taken;
        const char* after;
    } cases[] = {
        {VersionBox::Major, "||", "9.1.0", true, "9|1|0"},
        {VersionBox::Minor, "9||", "1.2", true, "9|1|2"},
        {VersionBox::Minor, "9||", "9.1.0", false, "9||"},  // more parts than boxes left
        {VersionBox::Major, "||", "32767", true, "32767||"},
        {VersionBox::Major, "||", "32768", false, "||"},
        {VersionBox::Major, "||", "000000000000000000009", true, "000000000000000000009||"},
        {VersionBox::Bugfix, "||", "9e9", false, "||"},
        {VersionBox::Bugfix, "||", " 9", false, "||"},
        {VersionBox::Major, "||", "9..0", false, "||"},
        {VersionBox::Major, "||", "9.", false, "||"},
        {VersionBox::Major, "99999||", "9999", true, "9999||"},  // a number the server gave can be erased
        {VersionBox::Major, "-1||", "-", true, "-||"},
        {VersionBox::Major, "-1||", "-12", false, "-1||"},
        {VersionBox::Bugfix, "||3", "", true, "||"},
    };
    for (const auto& c : cases) {
        RecordingInteraction ui;
        MainState state(ui, nullptr);
        const std::string before = c.before;
        state.txtMajorVersion = before.substr(0, before.find('|'));
        state.txtMinorVersion = before.substr(before.find('|') + 1, before.rfind('|') - before.find('|') - 1);
        state.txtBugfix = before.substr(before.rfind('|') + 1);
        EXPECT_EQ(VersionBoxEdited(state, c.box, c.text), c.taken) << c.text;
        EXPECT_EQ(state.txtMajorVersion + "|" + state.txtMinorVersion + "|" + state.txtBugfix, c.after)
            << c.text;
    }
}

TEST(RememberedSettings, NoStringWithoutAConnectionAndTheFolderOnlyWhileItExists) {
    RecordingInteraction ui;
    MainState state(ui, nullptr);
    state.reportFileName = GetDefaultReportFileName();
    EXPECT_FALSE(SettingsToRemember(state).connectionString);
    EXPECT_FALSE(SettingsToRemember(state).reportFolder);

    const TempFolder folder;
    RestoreSettings(state, {.connectionString = "Driver=X;UID=u;", .reportFolder = folder.Path().string()});
    EXPECT_EQ(state.txtConnString, "Driver=X;UID=u;");
    EXPECT_TRUE(state.cmdConnectEnabled);
    EXPECT_EQ(state.reportFileName, folder.File("Tessel_Diag.txt"));
    EXPECT_EQ(SettingsToRemember(state).reportFolder, folder.Path().string());

    RestoreSettings(state, {.connectionString = std::nullopt, .reportFolder = folder.File("gone")});
    EXPECT_EQ(state.reportFileName, folder.File("Tessel_Diag.txt"));
}

}  // namespace
}  // namespace tabvet
