// The "Help" button of every page opens the effect's help page in a web browser started through
// the shell. The browser and the installation directory come from the environment so that a
// site can point them elsewhere without rebuilding.
#include "host/Help.h"

#include <cstdlib>
#include <cstring>

#include "host/ControlTable.h"

std::string help_command(const char* topic)
{
    const char* browser = std::getenv("Q4_HELP_BROWSER");
    if (browser == nullptr)
        browser = "firefox";
    const char* base = std::getenv("DIR_4");
    if (base == nullptr)
        base = "/usr/local/Corvane";
    const std::string help_dir = std::string(base) + "/dl/help";

    // Any extension the caller gave is replaced by ".htm"; a name that starts with its only dot
    // (a hidden file) is kept whole.
    std::string name = topic != nullptr ? topic : "";
    const std::string::size_type dot = name.rfind('.');
    if (dot != std::string::npos && dot != 0)
        name.erase(dot);

    const std::string url = "file:" + help_dir + "/" + name + ".htm";
    // No quoting: the browser setting is used as a command word, exactly as the user wrote it.
    return std::string(browser) + " -geometry +50+50 " + url + " &";
}

int display_help_topic(const char* topic)
{
    // Only a shell that cannot be started counts as a failure; the browser runs on its own.
    return std::system(help_command(topic).c_str()) == -1 ? 1 : 0;
}

unsigned long* HelpCB(int, SparkInfoStruct)
{
    if (display_help_topic("vesk.htm") != 0)
        // The text names the browser the effect was first shipped with; kept as users know it.
        sparkError(const_cast<char*>("Error in opening help file (failed to spawn netscape process)"));
    return nullptr;
}
