// The README's recipes and the files in examples/ run as a person runs them, from the repository
// root, and put particles on the plate; renders repeat byte for byte, a saved setup reproduces its
// render, and an interrupted render leaves only complete frames behind.
#include <dirent.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <regex>
#include <thread>

#include "harness.h"

using harness::Outcome;
using harness::runSparkhost;
using sparkhost::FrameBuffer;

namespace {

const std::string kSource = VESK_SOURCE_DIR;
const std::string kPlate = "examples/plates/plate.png";
// The example plates are 640x360; every render over them has that size.
constexpr int kPlateW = 640;
constexpr int kPlateH = 360;

// Splits a shell command line into words: blanks separate, quotes group and are removed.
std::vector<std::string> shellWords(const std::string& line) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    char quote = 0;
    for (size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (quote) {
            if (c == quote) quote = 0;
            else word += c;
        } else if (c == '"' || c == '\'') {
            quote = c;
            inWord = true;
        } else if (c == '\\' && i + 1 < line.size()) {
            word += line[++i];
            inWord = true;
        } else if (c == ' ' || c == '\t') {
            if (inWord) words.push_back(word);
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (inWord) words.push_back(word);
    return words;
}

// Every `build/sparkhost render` command of the README's code blocks, continuation lines joined.
std::vector<std::string> readmeRenderCommands() {
    std::istringstream readme(harness::readFile(kSource + "/README.md"));
    std::vector<std::string> commands;
    std::string line, pending;
    bool inBlock = false;
    while (std::getline(readme, line)) {
        if (line.compare(0, 3, "```") == 0) {
            inBlock = !inBlock;
            pending.clear();
            continue;
        }
        if (!inBlock) continue;
        bool continues = !line.empty() && line.back() == '\\';
        if (continues) line.pop_back();
        pending += line;
        if (continues) continue;
        size_t start = pending.find_first_not_of(" \t");
        if (start != std::string::npos && pending.compare(start, 23, "build/sparkhost render ") == 0)
            commands.push_back(pending.substr(start));
        pending.clear();
    }
    return commands;
}

std::vector<std::string> exampleFiles(const std::string& extension) {
    std::vector<std::string> names;
    DIR* dir = ::opendir((kSource + "/examples").c_str());
    if (!dir) return names;
    while (dirent* e = ::readdir(dir)) {
        std::string name = e->d_name;
        if (name.size() > extension.size() &&
            name.compare(name.size() - extension.size(), extension.size(), extension) == 0)
            names.push_back("examples/" + name);
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> folderEntries(const std::string& folder) {
    std::vector<std::string> names;
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return names;
    while (dirent* e = ::readdir(dir)) {
        std::string name = e->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    return names;
}

// A frame file's path from a name.####.ext pattern.
std::string framePath(const std::string& pattern, int frame) {
    char number[16];
    std::snprintf(number, sizeof number, "%04d", frame);
    std::string path = pattern;
    size_t hashes = path.find("####");
    if (hashes != std::string::npos) path.replace(hashes, 4, number);
    return path;
}

bool readFrame(const std::string& path, FrameBuffer* frame, std::string* error) {
    return sparkhost::readImage(path, sparkhost::kDepth8, frame, error);
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

// A recipe's command made to run from the test build into a folder of the test's own, over a
// short frame range, with the output pattern it then writes.
struct Job {
    std::vector<std::string> args;
    std::string output;
};

Job adapt(const std::vector<std::string>& words, const std::string& folder, const std::string& frames) {
    Job job;
    for (size_t i = 1; i < words.size(); ++i) {  // words[0] is the sparkhost being run
        std::string w = words[i];
        if (w == "build/vesk.spark") w = harness::vesk();
        else if (w.compare(0, 6, "build/") == 0) w = std::string(VESK_BINARY_DIR) + "/" + w.substr(6);
        job.args.push_back(w);
        if ((w == "-o" || w == "--output") && i + 1 < words.size()) {
            std::string out = words[++i];
            job.output = folder + "/" + out.substr(out.find_last_of('/') + 1);
            job.args.push_back(job.output);
        } else if (w == "--frames" && i + 1 < words.size()) {
            ++i;
            job.args.push_back(frames);
        }
    }
    return job;
}

// The background a job's frames are drawn over: its clip 1 when it names one, else the same job
// rendered with nothing drawn ("Render Mode: Wireframe" only previews in the viewer).
FrameBuffer backgroundOf(const std::vector<std::string>& words, const std::string& folder) {
    FrameBuffer plate;
    std::string error;
    for (size_t i = 0; i + 1 < words.size(); ++i)
        if (words[i] == "--clip" && words[i + 1].compare(0, 2, "1=") == 0) {
            EXPECT_TRUE(readFrame(kSource + "/" + words[i + 1].substr(2), &plate, &error)) << error;
            return plate;
        }
    std::vector<std::string> bare = words;
    bare.insert(bare.end(), {"--set", "Render Mode=Wireframe"});
    ::mkdir(folder.c_str(), 0755);
    Job job = adapt(bare, folder, "1");
    Outcome run = runSparkhost(job.args, kSource);
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_TRUE(readFrame(framePath(job.output, 1), &plate, &error)) << error;
    return plate;
}

// Runs a job over frames 1 to 3 and checks that it gives three readable frames of the
// background's size, each carrying visibly more than the background.
void expectParticlesOverPlate(const std::vector<std::string>& words, const std::string& name) {
    SCOPED_TRACE(name);
    std::string folder = harness::freshDir("recipe_" + name);
    Job job = adapt(words, folder, "1-3");
    ASSERT_FALSE(job.output.empty()) << "no output in the command";
    Outcome run = runSparkhost(job.args, kSource);
    ASSERT_EQ(run.code, 0) << run.err;

    FrameBuffer plate = backgroundOf(words, folder + "/plate");
    ASSERT_GT(plate.width(), 0);
    std::string error;
    for (int frame = 1; frame <= 3; ++frame) {
        FrameBuffer image;
        ASSERT_TRUE(readFrame(framePath(job.output, frame), &image, &error)) << error;
        ASSERT_EQ(image.width(), plate.width());
        ASSERT_EQ(image.height(), plate.height());
        // A swarm of a few dozen shapes covers far more than a hundredth of the frame.
        EXPECT_GT(differingPixels(image, plate), long(plate.width()) * plate.height() / 100)
            << "frame " << frame;
    }
    EXPECT_FALSE(harness::exists(framePath(job.output, 4))) << "frames beyond the range were written";
}

// The clips every example setup may use: the plate, the sprite texture and matte, the birth matte.
std::vector<std::string> exampleCommand(const std::string& output) {
    return {"build/sparkhost",
            "render",
            "build/vesk.spark",
            "--frames",
            "1-3",
            "--clip",
            "1=" + kPlate,
            "--clip",
            "2=examples/plates/texture.png",
            "--clip",
            "3=examples/plates/texture-matte.png",
            "--clip",
            "4=examples/plates/birth-matte.png",
            "-o",
            output};
}

std::string baseName(const std::string& path) {
    std::string name = path.substr(path.find_last_of('/') + 1);
    return name.substr(0, name.find('.'));
}

// Byte-for-byte comparison of frames 1 to `count` of two output patterns.
void expectSameFiles(const std::string& a, const std::string& b, int count) {
    for (int frame = 1; frame <= count; ++frame) {
        std::string fa = harness::readFile(framePath(a, frame));
        std::string fb = harness::readFile(framePath(b, frame));
        ASSERT_FALSE(fa.empty()) << framePath(a, frame);
        EXPECT_TRUE(fa == fb) << "frame " << frame << " differs between " << a << " and " << b;
    }
}

TEST(Recipes, EveryReadmeRecipeRendersParticlesOverThePlate) {
    std::vector<std::string> commands = readmeRenderCommands();
    ASSERT_GE(commands.size(), 5u) << "the README lost its recipes";
    int n = 0;
    for (const auto& command : commands) {
        std::vector<std::string> words = shellWords(command);
        ASSERT_GE(words.size(), 3u) << command;
        EXPECT_EQ(words[2], "build/vesk.spark") << command;
        expectParticlesOverPlate(words, "readme" + std::to_string(++n));
    }
}

TEST(Recipes, EveryExampleFileRendersParticlesOverThePlate) {
    std::vector<std::string> setups = exampleFiles(".setup");
    std::vector<std::string> keys = exampleFiles(".keys");
    ASSERT_GE(setups.size(), 4u);
    ASSERT_GE(keys.size(), 2u);
    for (const auto& file : setups) {
        std::vector<std::string> words = exampleCommand("out/x/" + baseName(file) + ".####.png");
        words.push_back("--setup");
        words.push_back(file);
        expectParticlesOverPlate(words, baseName(file));
    }
    // Keys move the food and the predator, so they run over the hunt with the predator on.
    for (const auto& file : keys) {
        std::vector<std::string> words = exampleCommand("out/x/" + baseName(file) + ".####.png");
        words.insert(words.end(), {"--setup", "examples/predator.setup", "--keys", file});
        expectParticlesOverPlate(words, baseName(file));
    }
    // Each file says what it is on its first line.
    setups.insert(setups.end(), keys.begin(), keys.end());
    for (const auto& file : setups) {
        std::string text = harness::readFile(kSource + "/" + file);
        EXPECT_EQ(text.compare(0, 2, "# "), 0) << file << " does not open with a comment";
    }
}

TEST(Recipes, TheSameJobRenderedTwiceGivesTheSameFiles) {
    std::string folder = harness::freshDir("recipe_twice");
    std::vector<std::string> runs[2];
    std::string outputs[2];
    for (int i = 0; i < 2; ++i) {
        std::vector<std::string> words = exampleCommand("x/run" + std::to_string(i) + ".####.png");
        words.insert(words.end(), {"--setup", "examples/sprites.setup", "--keys", "examples/food-path.keys"});
        Job job = adapt(words, folder, "1-3");
        Outcome run = runSparkhost(job.args, kSource);
        ASSERT_EQ(run.code, 0) << run.err;
        outputs[i] = job.output;
    }
    expectSameFiles(outputs[0], outputs[1], 3);
}

TEST(Recipes, ASavedSetupReproducesItsRender) {
    std::string folder = harness::freshDir("recipe_saved");
    std::string setup = folder + "/saved.setup";
    // Presses, edits after them and keys all have to land in the saved setup.
    std::vector<std::string> first = exampleCommand("x/first.####.png");
    first.insert(first.end(), {"--press", "Simple Food Hunt", "--set", "Shape=Diamond", "--set",
                               "Avoid Predator=on", "--set", "Vesk Size=70", "--keys",
                               "examples/predator-path.keys", "--save-setup", setup});
    Job a = adapt(first, folder, "1-3");
    Outcome runA = runSparkhost(a.args, kSource);
    ASSERT_EQ(runA.code, 0) << runA.err;
    ASSERT_TRUE(harness::exists(setup));

    std::vector<std::string> second = exampleCommand("x/second.####.png");
    second.insert(second.end(), {"--setup", setup});
    Job b = adapt(second, folder, "1-3");
    Outcome runB = runSparkhost(b.args, kSource);
    ASSERT_EQ(runB.code, 0) << runB.err;
    expectSameFiles(a.output, b.output, 3);

    // The reproduction is of the edited render, not of the panel's defaults.
    std::vector<std::string> plain = exampleCommand("x/plain.####.png");
    plain.insert(plain.end(), {"--set", "Render Mode=Render"});
    Job c = adapt(plain, folder, "1");
    ASSERT_EQ(runSparkhost(c.args, kSource).code, 0);
    EXPECT_NE(harness::readFile(framePath(a.output, 1)), harness::readFile(framePath(c.output, 1)));
}

TEST(Recipes, AnInterruptedRenderLeavesOnlyCompleteFrames) {
    std::string folder = harness::freshDir("recipe_interrupted");
    const int frames = 400;
    std::vector<std::string> words = exampleCommand("x/cut.####.png");
    words.insert(words.end(), {"--setup", "examples/food-hunt.setup"});
    Job job = adapt(words, folder, "1-" + std::to_string(frames));

    std::vector<std::string> all = {harness::sparkhostPath()};
    all.insert(all.end(), job.args.begin(), job.args.end());
    std::vector<char*> argv;
    for (auto& a : all) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        int devnull = ::open("/dev/null", O_RDWR);
        ::dup2(devnull, 0);
        ::dup2(devnull, 1);
        ::dup2(devnull, 2);
        if (::chdir(kSource.c_str()) != 0) ::_exit(126);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    // Interrupt as soon as the first frame is there, while later ones are being made.
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    bool exited = false;
    int status = 0;
    while (!harness::exists(framePath(job.output, 1)) && std::chrono::steady_clock::now() < deadline) {
        if (::waitpid(pid, &status, WNOHANG) == pid) {
            exited = true;
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ASSERT_FALSE(exited) << "sparkhost ended before its first frame, status " << status;
    if (!harness::exists(framePath(job.output, 1))) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, &status, 0);
        FAIL() << "no first frame within two minutes";
    }
    ::kill(pid, SIGINT);
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "an interrupted render reported success";

    // Only finished frames, under their own names, numbered from 1 without a gap.
    std::vector<std::string> entries = folderEntries(folder);
    ASSERT_FALSE(entries.empty());
    EXPECT_LT(entries.size(), size_t(frames)) << "the render was not interrupted";
    std::regex frameName("cut\\.(\\d{4})\\.png");
    for (size_t i = 0; i < entries.size(); ++i) {
        std::smatch m;
        ASSERT_TRUE(std::regex_match(entries[i], m, frameName)) << "left behind: " << entries[i];
        EXPECT_EQ(std::stoi(m[1].str()), int(i) + 1);
        FrameBuffer image;
        std::string error;
        ASSERT_TRUE(readFrame(folder + "/" + entries[i], &image, &error)) << entries[i] << ": " << error;
        EXPECT_EQ(image.width(), kPlateW);
        EXPECT_EQ(image.height(), kPlateH);
    }
}

}  // namespace
