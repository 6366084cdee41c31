#include "sparkhost/lib/ClipSet.h"

#include <chrono>

#include <sys/stat.h>

#include "sparkhost/lib/DefaultPlate.h"
#include "sparkhost/lib/ImageFiles.h"

namespace sparkhost {

namespace {

bool exists(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

std::string sizeText(int w, int h) { return std::to_string(w) + "x" + std::to_string(h); }

}  // namespace

bool ClipSet::setClip(int clip, const std::string& pattern, std::string* error) {
    SequencePattern p;
    if (!p.parse(pattern, error)) return false;
    patterns_[clip] = p;
    stills_.erase(clip);
    for (auto kept = kept_.begin(); kept != kept_.end();) {
        if (kept->first.first != clip) {
            ++kept;
            continue;
        }
        keptBytes_ -= kept->second.bytes();
        kept = kept_.erase(kept);
    }
    return true;
}

bool ClipSet::check(const std::vector<int>& frames, int width, int height, std::string* error) const {
    for (const auto& entry : patterns_) {
        std::string clip = "clip " + std::to_string(entry.first + 1);
        const SequencePattern& p = entry.second;
        std::vector<std::string> present;
        int missing = 0;
        std::string firstMissing;
        for (int f : frames) {
            std::string path = p.path(f);
            if (!exists(path)) {
                if (missing++ == 0) firstMissing = path;
            } else {
                present.push_back(path);
            }
            if (!p.isSequence()) break;
        }
        if (missing) {
            if (error) {
                *error = clip + ": missing input file '" + firstMissing + "'";
                if (missing > 1) *error += " (and " + std::to_string(missing - 1) + " more frames)";
            }
            return false;
        }
        // Every file, not only the first: a sequence whose size changes midway would otherwise
        // stop the render after some frames were written.
        for (const auto& path : present) {
            int w = 0, h = 0;
            std::string why;
            if (!imageSize(path, &w, &h, &why)) {
                if (error) *error = clip + ": " + why;
                return false;
            }
            if (w != width || h != height) {
                if (error)
                    *error = clip + ": '" + path + "' is " + sizeText(w, h) + " but the frame size is " +
                             sizeText(width, height);
                return false;
            }
        }
    }
    return true;
}

bool ClipSet::read(int clip, int frame, FrameBuffer& destination) {
    auto start = std::chrono::steady_clock::now();
    bool found = readTimed(clip, frame, destination);
    readSeconds_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return found;
}

bool ClipSet::readTimed(int clip, int frame, FrameBuffer& destination) {
    auto pattern = patterns_.find(clip);
    if (pattern == patterns_.end()) {
        if (!plates_.count(clip)) return false;
        if (plate_.width() != destination.width() || plate_.height() != destination.height() ||
            plate_.depthCode() != destination.depthCode()) {
            plate_.resize(destination.width(), destination.height(), destination.depthCode());
            makeDefaultPlate(&plate_);
        }
        destination = plate_;
        return true;
    }
    const SequencePattern& p = pattern->second;
    std::string path = p.path(frame);
    FrameBuffer* image = &loaded_;
    if (!p.isSequence()) {
        auto still = stills_.find(clip);
        if (still != stills_.end() && still->second.depthCode() == destination.depthCode()) {
            image = &still->second;
        } else {
            std::string why;
            if (!readFile(clip, path, destination.depthCode(), &stills_[clip], &why)) {
                stills_.erase(clip);
                lastError_ = "clip " + std::to_string(clip + 1) + ": " + why;
                return false;
            }
            image = &stills_[clip];
        }
    } else {
        auto kept = kept_.find({clip, frame});
        if (kept != kept_.end() && kept->second.depthCode() == destination.depthCode()) {
            image = &kept->second;
        } else {
            if (!exists(path)) return false;  // a frame outside the sequence shows black
            std::string why;
            if (!readFile(clip, path, destination.depthCode(), &loaded_, &why)) {
                lastError_ = "clip " + std::to_string(clip + 1) + ": " + why;
                return false;
            }
            if (kept == kept_.end() && keptBytes_ + loaded_.bytes() <= keepBudget_) {
                keptBytes_ += loaded_.bytes();
                image = &(kept_[{clip, frame}] = loaded_);
            }
        }
    }
    if (image->width() != destination.width() || image->height() != destination.height()) {
        lastError_ = "clip " + std::to_string(clip + 1) + ": '" + path + "' is " +
                     sizeText(image->width(), image->height()) + " but the frame size is " +
                     sizeText(destination.width(), destination.height());
        return false;
    }
    destination = *image;
    return true;
}

}  // namespace sparkhost
