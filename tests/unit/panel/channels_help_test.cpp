// Channel folders and names, the amplitude key-file import, and the help command line.
#include <cstdlib>
#include <fstream>
#include <string>

#include "host/Help.h"
#include "panel_fixture.h"

namespace panel_test {
namespace {

class ChannelsTest : public PanelTest {
protected:
    std::string write(const std::string& name, const std::string& text)
    {
        const std::string path = ::testing::TempDir() + "/" + name;
        std::ofstream(path) << text;
        return path;
    }
    void import(std::string path) { aiff_file_CB(&path[0]); }
    const sparkhost::Curve* amplitude() const { return host.findCurve(0, 93); }
    std::string messages() const { return host.messageText(sparkhost::HostMessage::Message); }
};

TEST_F(ChannelsTest, ImportButtonLoadsKeysUntilABrokenBlock)
{
    // Key numbers differ from frame numbers here: the key number is the position used. The
    // header's channel number (7) is ignored.
    host.setWorkingDir("/tmp/vesk_projects");
    host.setBrowserAnswer(write("broken.key", "Channel Amplitude 7:\n\tSize 3\n"
                                              "\tKey 1\n\t\tFrame 10\n\t\tValue 0.5\n\t\tEnd\n"
                                              "\tKey 2\n\t\tFrame 20\n\t\tValue -3.25\n\t\tEnd\n"
                                              "\tKey 3\n\t\tFrame 30\n\t\tEnd\n"));
    EXPECT_EQ(SparkPush114.Callback(1, info()), nullptr);
    ASSERT_EQ(host.browserRequests().size(), 1u);
    EXPECT_EQ(host.browserRequests()[0], "/tmp/vesk_projects|");  // no extension filter
    ASSERT_NE(amplitude(), nullptr);
    ASSERT_EQ(amplitude()->size(), 2u);
    EXPECT_EQ(amplitude()->keys().at(1), 0.5f);
    EXPECT_EQ(amplitude()->keys().at(2), -3.25f);
    EXPECT_EQ(messages(), "");
}

TEST_F(ChannelsTest, HeaderDecidesWhetherTheFileIsReadAtAll)
{
    import(write("empty.key",
                 "Channel Amplitude 1:\n\tSize 0\n\tKey 1\n\t\tFrame 1\n\t\tValue 2\n\t\tEnd\n"));
    EXPECT_TRUE(amplitude() == nullptr || amplitude()->empty());
    EXPECT_EQ(messages(), "");
    EXPECT_EQ(sparkhost::pauseCount(), 0);

    import(write("bad.key", "Amplitude 1\nSize 2\n"));
    EXPECT_EQ(messages(), "Not a valid control file\n");
    EXPECT_EQ(sparkhost::pauseSeconds(), 2u);

    host.clearMessages();
    import(::testing::TempDir() + "/no_such_file.key");
    EXPECT_EQ(messages(), "Unable to open file\n");
    EXPECT_EQ(sparkhost::pauseSeconds(), 4u);
}

TEST_F(ChannelsTest, ChannelEditorFoldersAndNames)
{
    host.clearChannels();
    SparkChannelEditor();
    std::string tree;
    for (const sparkhost::ChannelEntry& e : host.channels())
        tree += e.folder ? "|" + e.name + ":"
                         : std::to_string(e.type) + "/" + std::to_string(e.control) + " ";
    EXPECT_EQ(tree,
              "|Style:1/12 1/11 1/43 1/44 1/45 1/46 1/50 1/51 1/52 1/53 1/54 "
              "|Location:1/13 1/14 1/15 |Orientation:1/48 |Food:1/72 1/73 "
              "|Predator:1/68 1/69 1/70 |Avoid:1/76 1/77 |Speed:1/79 1/80 |Space:1/82 "
              "|Grouping:1/84 |Common:1/27 0/93 ");

    // Start-up named the channels (a sample across the three name groups).
    EXPECT_EQ(host.controlName(1, 11), "Vesk Size");
    EXPECT_EQ(host.controlName(1, 40), "Frames in Cycle");
    EXPECT_EQ(host.controlName(1, 52), "Shape Colour B");
    EXPECT_EQ(host.controlName(1, 70), "Fear of Predator");
    EXPECT_EQ(host.controlName(1, 84), "Vesk Grouping");
}

class HelpTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        unsetenv("Q4_HELP_BROWSER");
        unsetenv("DIR_4");
    }
    void TearDown() override { SetUp(); }
};

TEST_F(HelpTest, CommandLineFromDefaultsAndFromTheEnvironment)
{
    EXPECT_EQ(help_command("vesk.htm"),
              "firefox -geometry +50+50 file:/usr/local/Corvane/dl/help/vesk.htm &");
    setenv("Q4_HELP_BROWSER", "my browser", 1);
    setenv("DIR_4", "/opt/q4", 1);
    const std::string head = "my browser -geometry +50+50 file:/opt/q4/dl/help/";
    // Only the last extension goes; a leading dot is part of the name.
    const std::pair<const char*, const char*> topics[] = {
        {"vesk.htm", "vesk"}, {"guide.v2.html", "guide.v2"}, {".hidden", ".hidden"},
        {".a.b", ".a"},       {"plain", "plain"}};
    for (const auto& t : topics)
        EXPECT_EQ(help_command(t.first), head + t.second + ".htm &") << t.first;

    // A browser that starts is no failure, so the button reports nothing.
    sparkhost::Host host;
    host.setEcho(false);
    setenv("Q4_HELP_BROWSER", "true", 1);
    EXPECT_EQ(display_help_topic("vesk.htm"), 0);
    EXPECT_EQ(SparkPush60.Callback(1, host.info()), nullptr);
    EXPECT_EQ(host.messageText(sparkhost::HostMessage::Error), "");
}

}  // namespace
}  // namespace panel_test
