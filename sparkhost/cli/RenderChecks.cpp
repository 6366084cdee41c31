#include "RenderChecks.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sparkhost/lib/FileIdentity.h"
#include "sparkhost/lib/FrameMemory.h"
#include "sparkhost/lib/FrameRange.h"
#include "sparkhost/lib/ImageFiles.h"

namespace sparkhost {

std::string folderOf(const std::string& path) {
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool canWriteIn(const std::string& folder) {
    std::string probe = folder + "/.sparkhost-probe-" + std::to_string(::getpid());
    int fd = ::open(probe.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
    if (fd < 0) return false;
    ::close(fd);
    ::unlink(probe.c_str());
    return true;
}

bool parseSize(const std::string& text, int* width, int* height, std::string* error) {
    size_t x = text.find_first_of("xX");
    auto whole = [](const std::string& s, int* out) {
        if (s.empty() || s.size() > 6 || s.find_first_not_of("0123456789") != std::string::npos) return false;
        *out = std::stoi(s);
        return *out >= 1;
    };
    if (x == std::string::npos || !whole(text.substr(0, x), width) || !whole(text.substr(x + 1), height)) {
        if (error) *error = "bad size '" + text + "': write WIDTHxHEIGHT, for example 1920x1080";
        return false;
    }
    return true;
}

namespace {

bool readableFile(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && ::access(path.c_str(), R_OK) == 0;
}

bool isFolder(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The frames the render reads from its clips: those it writes, and those a shot's catch-up steps
// through before them.
std::vector<int> framesRead(const RenderOptions& o, const std::vector<int>& written) {
    std::vector<int> frames = written;
    int first = *std::min_element(written.begin(), written.end());
    for (int f = o.shotStart >= 0 ? o.shotStart : first; f < first; ++f) frames.push_back(f);
    return frames;
}

// Every file the render reads but its setup, with what to call each in a message.
FileSet filesRead(const RenderOptions& o, const RenderInputs& in) {
    FileSet files;
    std::vector<int> frames = framesRead(o, in.frames);
    for (const auto& clip : in.clips.clips()) {
        for (int f : frames) {
            std::string path = clip.second.path(f);
            files.add(path, "clip " + std::to_string(clip.first + 1) + "'s file '" + path + "'");
            if (!clip.second.isSequence()) break;
        }
    }
    if (!o.keys.empty()) files.add(o.keys, "the keys file '" + o.keys + "'");
    files.add(o.plugin, "the plug-in '" + o.plugin + "'");
    return files;
}

// "...: frame 3 is written to 'b', the same file" when the two names differ.
std::string sameFileNote(const std::string& described, const std::string& path, const std::string& role) {
    if (described.find("'" + path + "'") != std::string::npos) return "";
    return " (" + role + " '" + path + "' is the same file)";
}

// No file the render reads may be written over: not by a frame, not by the setup saved.
bool checkNothingOverwritten(const RenderOptions& o, const RenderInputs& in, std::string* error) {
    FileSet read = filesRead(o, in);
    FileSet frames;
    for (int f : in.frames) frames.add(in.output.path(f), "frame " + std::to_string(f) + " of the render ('" +
                                                              in.output.path(f) + "')");
    if (!o.saveSetup.empty()) {
        if (isFolder(o.saveSetup)) {
            *error = "--save-setup '" + o.saveSetup + "' is a folder: give the setup file's name";
            return false;
        }
        // Saving over the setup that was loaded updates it, as intended; anything else read would be lost.
        const std::string* hit = read.find(o.saveSetup);
        if (!hit) hit = frames.find(o.saveSetup);
        if (hit) {
            *error = "--save-setup '" + o.saveSetup + "' would overwrite " + *hit;
            return false;
        }
    }
    if (!o.setup.empty()) read.add(o.setup, "the setup file '" + o.setup + "'");
    for (int f : in.frames) {
        std::string path = in.output.path(f);
        if (const std::string* hit = read.find(path)) {
            *error = "-o '" + o.output + "' would overwrite " + *hit + sameFileNote(*hit, path, "frame " + std::to_string(f));
            return false;
        }
    }
    return true;
}

}  // namespace

bool checkRenderInputs(const RenderOptions& o, RenderInputs* in, std::string* error) {
    auto fail = [&](const std::string& why) {
        *error = why;
        return false;
    };
    if (!parseFrameRange(o.frames, &in->frames, error)) return false;
    if (o.yes && o.no) return fail("--yes and --no exclude each other");

    for (const auto& spec : o.clips) {
        size_t eq = spec.find('=');
        std::string number = spec.substr(0, eq);
        if (eq == std::string::npos || number.size() != 1 || number[0] < '1' || number[0] > '5')
            return fail("bad --clip '" + spec + "': write N=PATTERN with N from 1 to 5");
        int clip = number[0] - '1';
        if (in->clips.hasClip(clip)) return fail("clip " + number + " is given twice");
        if (!in->clips.setClip(clip, spec.substr(eq + 1), error)) return false;
    }

    // Frame size: as asked, else that of the first clip's first frame, else the default plate's.
    if (!o.size.empty()) {
        if (!parseSize(o.size, &in->width, &in->height, error)) return false;
    } else if (in->clips.hasClip(0)) {
        std::string path = in->clips.clips().at(0).path(in->frames.front());
        if (::access(path.c_str(), F_OK) != 0) return fail("clip 1: missing input file '" + path + "'");
        if (!imageSize(path, &in->width, &in->height, error)) return fail("clip 1: " + *error);
    }
    std::string why;
    int depthCode = o.depth == 12 ? kDepth12 : kDepth8;
    if (!checkFrameMemory(in->width, in->height, depthCode, physicalMemory(), &why))
        return fail((o.size.empty() ? "" : "--size " + o.size + ": ") + why);
    if (!in->clips.hasClip(0)) in->clips.setDefaultPlate(0);
    if (!in->clips.check(in->frames, in->width, in->height, error)) return false;

    if (o.output.empty()) return fail("no output given: add -o PATTERN, for example -o out/frame.####.png");
    if (!in->output.parse(o.output, error)) return false;
    if (!in->output.isSequence() && in->frames.size() > 1)
        return fail("the output '" + o.output + "' has no frame number (#### or %04d) but " +
                    std::to_string(in->frames.size()) + " frames are rendered");
    std::string outFolder = folderOf(o.output);
    if (::access(outFolder.c_str(), F_OK) != 0) return fail("output folder '" + outFolder + "' does not exist");
    if (!canWriteIn(outFolder)) return fail("output folder '" + outFolder + "' is not writable");
    if (!canWriteImageType(o.output, &why)) return fail("-o: " + why);
    if (!checkCompression(o.output, o.compression, error)) return false;
    for (const auto& set : o.sets) {
        size_t eq = set.find('=');
        if (eq != std::string::npos && set.find_first_not_of(" \t") == eq)
            return fail("bad --set '" + set + "': the control's name is missing; write NAME=VALUE");
    }

    if (!o.keys.empty() && !readKeyframes(o.keys, &in->keys, error)) return false;
    if (!o.setup.empty() && !readableFile(o.setup)) return fail("cannot read setup file '" + o.setup + "'");
    if (!checkNothingOverwritten(o, *in, error)) return false;
    if (!o.saveSetup.empty() && !canWriteIn(folderOf(o.saveSetup)))
        return fail("cannot write setup file '" + o.saveSetup + "': its folder is not writable");
    in->lock = std::make_shared<OutputLock>();
    return in->lock->take(in->output, in->frames, error);
}

}  // namespace sparkhost
