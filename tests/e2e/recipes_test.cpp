// The README's recipes run as a person runs them, from the repository root, and put particles on
// the plate; a saved setup reproduces its render byte for byte, and an interrupted render leaves
// only complete frames behind.
#include <dirent.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <regex>
#include <thread>
#include <wordexp.h>

#include "harness.h"

using harness::framePath;
using harness::Outcome;
using harness::runSparkhost;
using sparkhost::FrameBuffer;

namespace {

const std::string kSource = VESK_SOURCE_DIR;

// A command line split into words as the shell splits it (quotes grouping, no expansion of commands).
std::vector<std::string> shellWords(const std::string& line) {
    wordexp_t w;
    std::vector<std::string> words;
    if (::wordexp(line.c_str(), &w, WRDE_NOCMD | WRDE_UNDEF) != 0) return words;
    words.assign(w.we_wordv, w.we_wordv + w.we_wordc);
    ::wordfree(&w);
    return words;
}

// Every line of the README, continuations joined, that starts with one of the programs: the code
// blocks' commands (prose never starts a line with them).
std::vector<std::string> readmeCommands(const std::vector<std::string>& programs) {
    std::string text = harness::readFile(kSource + "/README.md");
    for (size_t at; (at = text.find("\\\n")) != std::string::npos;) text.erase(at, 2);
    std::istringstream readme(text);
    std::vector<std::string> commands;
    for (std::string line; std::getline(readme, line);)
        for (const auto& program : programs)
            if (line.compare(0, program.size() + 1, program + " ") == 0) commands.push_back(line);
    return commands;
}

// A recipe's command made to run from the test build, writing into a folder of the test's own
// (every out/ path, read or written, moves there), over a short frame range.
struct Job {
    std::vector<std::string> args;
    std::string output;  // the -o pattern, "" when the command has none
};

Job adapt(const std::vector<std::string>& words, const std::string& folder, const std::string& frames) {
    Job job;
    for (size_t i = 1; i < words.size(); ++i) {  // words[0] is the program being run
        std::string w = words[i];
        size_t out = w.find("out/");
        if (w == "build/vesk.spark") w = harness::vesk();
        else if (w == "build/Vesk.ofx.bundle") w = std::string(VESK_BINARY_DIR) + "/Vesk.ofx.bundle";
        else if (out == 0 || (out != std::string::npos && w[out - 1] == '=')) w = w.substr(0, out) + folder + "/" + w.substr(w.rfind('/') + 1);
        if (i > 1 && words[i - 1] == "--frames") w = frames;
        if (i > 1 && words[i - 1] == "-o") job.output = w;
        job.args.push_back(w);
    }
    return job;
}

// Pixels whose colour differs between two frames of the same size.
long differingPixels(const FrameBuffer& a, const FrameBuffer& b) {
    long count = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            for (int c = 0; c < 3; ++c)
                if (a.raw(x, y, c) != b.raw(x, y, c)) {
                    ++count;
                    break;
                }
    return count;
}

// Runs a recipe's render over frames 1 to 3 and checks that it gives three frames of its clip 1's
// size, each carrying visibly more than that plate.
Job renderOverPlate(const std::vector<std::string>& words, const std::string& folder) {
    Job job = adapt(words, folder, "1-3");
    EXPECT_FALSE(job.output.empty()) << "no output in the command";
    // Clip 1 of the Spark plug-in is the OpenFX effect's "Source".
    auto clip = std::find_if(job.args.begin(), job.args.end(), [](const std::string& a) {
        return a.compare(0, 2, "1=") == 0 || a.compare(0, 7, "Source=") == 0;
    });
    EXPECT_NE(clip, job.args.end()) << "every recipe renders over a plate given as clip 1";
    Outcome run = runSparkhost(job.args, kSource);
    EXPECT_EQ(run.code, 0) << run.err;
    if (run.code != 0 || clip == job.args.end()) return job;
    std::string platePath = clip->substr(clip->find('=') + 1);
    FrameBuffer plate = harness::readFrame(platePath[0] == '/' ? platePath : kSource + "/" + platePath);
    for (int frame = 1; frame <= 3; ++frame) {
        FrameBuffer image = harness::readFrame(framePath(job.output, frame));
        bool sameSize = image.width() == plate.width() && image.height() == plate.height();
        EXPECT_TRUE(sameSize) << "frame " << frame;
        // A swarm of a few dozen shapes covers far more than a hundredth of the frame.
        EXPECT_TRUE(sameSize && differingPixels(image, plate) > long(plate.width()) * plate.height() / 100)
            << "frame " << frame << " shows no swarm";
    }
    EXPECT_FALSE(harness::exists(framePath(job.output, 4))) << "frames beyond the range were written";
    return job;
}

// A render over the example plate and every example clip, into the test's folder.
std::vector<std::string> exampleRender(const std::string& output, const std::vector<std::string>& extra) {
    return harness::with({"build/sparkhost", "render", "build/vesk.spark", "--frames", "1-3", "--clip",
                          "1=examples/plates/plate.png", "--clip", "2=examples/plates/texture.png", "--clip",
                          "3=examples/plates/texture-matte.png", "--clip", "4=examples/plates/birth-matte.png",
                          "-o", "out/" + output},
                         extra);
}

}  // namespace

TEST(Recipes, EveryReadmeRecipeRendersParticlesOverThePlate) {
    std::vector<std::string> commands = readmeCommands({"build/sparkhost render", "oiiotool"});
    ASSERT_GE(std::count_if(commands.begin(), commands.end(),
                            [](const std::string& c) { return c[0] == 'b'; }), 6) << "the README lost its recipes";
    int n = 0;
    std::string folder;
    for (const auto& command : commands) {
        SCOPED_TRACE(command);
        std::vector<std::string> words = shellWords(command);
        if (words[0] == "oiiotool") {  // a step that makes a plate for the render that follows it
            folder = harness::freshDir("recipe" + std::to_string(++n));
            std::string line = "cd '" + kSource + "' && oiiotool";
            for (const auto& arg : adapt(words, folder, "").args) line += " '" + arg + "'";
            ASSERT_EQ(std::system(line.c_str()), 0) << line;
            continue;
        }
        EXPECT_TRUE(words.at(2) == "build/vesk.spark" || words.at(2) == "build/Vesk.ofx.bundle") << words.at(2);
        if (folder.empty()) folder = harness::freshDir("recipe" + std::to_string(++n));
        renderOverPlate(words, folder);
        folder.clear();
    }
}

TEST(Recipes, ASavedSetupReproducesItsRender) {
    std::string folder = harness::freshDir("recipe_saved");
    // Presses, edits after them and keys all have to land in the saved setup.
    Job a = renderOverPlate(exampleRender("first.####.png", {"--press", "Simple Food Hunt", "--set", "Shape=Diamond",
                                                             "--set", "Avoid Predator=on", "--set", "Vesk Size=70",
                                                             "--keys", "examples/predator-path.keys", "--save-setup",
                                                             "out/saved.setup"}),
                            folder);
    Job b = adapt(exampleRender("second.####.png", {"--setup", "out/saved.setup"}), folder, "1-3");
    Outcome run = runSparkhost(b.args, kSource);
    ASSERT_EQ(run.code, 0) << run.err;
    for (int frame = 1; frame <= 3; ++frame) {
        std::string first = harness::readFile(framePath(a.output, frame));
        ASSERT_FALSE(first.empty());
        EXPECT_TRUE(first == harness::readFile(framePath(b.output, frame))) << "frame " << frame;
    }
}

TEST(Recipes, AnInterruptedRenderLeavesOnlyCompleteFrames) {
    std::string folder = harness::freshDir("recipe_interrupted");
    const int frames = 400;
    Job job = adapt(exampleRender("cut.####.png", {"--setup", "examples/food-hunt.setup"}), folder,
                    "1-" + std::to_string(frames));
    pid_t pid = harness::startSparkhost(job.args, kSource);
    ASSERT_GT(pid, 0);
    // Interrupt as soon as the first frame is there, while later ones are being made.
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    int status = 0;
    while (!harness::exists(framePath(job.output, 1)) && std::chrono::steady_clock::now() < deadline) {
        ASSERT_NE(::waitpid(pid, &status, WNOHANG), pid) << "sparkhost ended before its first frame, status " << status;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ::kill(pid, harness::exists(framePath(job.output, 1)) ? SIGINT : SIGKILL);
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(harness::exists(framePath(job.output, 1))) << "no first frame within two minutes";
    EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "an interrupted render reported success";

    // Only finished frames, under their own names, numbered from 1 without a gap.
    std::vector<std::string> entries;
    DIR* dir = ::opendir(folder.c_str());
    while (dirent* e = ::readdir(dir))
        if (std::string(".") != e->d_name && std::string("..") != e->d_name) entries.push_back(e->d_name);
    ::closedir(dir);
    std::sort(entries.begin(), entries.end());
    EXPECT_LT(entries.size(), size_t(frames)) << "the render was not interrupted";
    std::regex frameName("cut\\.(\\d{4})\\.png");
    for (size_t i = 0; i < entries.size(); ++i) {
        std::smatch m;
        ASSERT_TRUE(std::regex_match(entries[i], m, frameName)) << "left behind: " << entries[i];
        EXPECT_EQ(std::stoi(m[1].str()), int(i) + 1);
        FrameBuffer image = harness::readFrame(folder + "/" + entries[i]);
        EXPECT_TRUE(image.width() == 640 && image.height() == 360) << entries[i];  // the example plate's size
    }
}
