#include "sparkhost/lib/ColourManagement.h"

#include <OpenImageIO/color.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <mutex>
#include <set>
#include <sys/stat.h>

#include "sparkhost/lib/ImageFiles.h"

namespace sparkhost {

namespace {

const char kRaw[] = "raw";
const size_t kSpareImages = 4;  // a reader and the writers at once

bool sameText(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

// A value is lost when it lies beyond what the 16-bit rounding of a code would still take for
// 0 or full; the tolerance keeps transforms that land a hair outside 0..1 from counting.
bool outsideUnit(float v) {
    const float tolerance = 0.5f / 65535.0f;
    return !(v >= -tolerance && v <= 1.0f + tolerance);
}

// NaN has no colour: each NaN value becomes 0, so the pixel shows black whatever path its file
// takes (a conversion to codes would otherwise make it full or zero depending on the path).
// Returns the number of pixels that held one.
long long blackenNaN(FloatImage& image) {
    long long pixels = 0;
    for (size_t i = 0; i + 2 < image.rgb.size(); i += 3) {
        bool found = false;
        for (size_t c = i; c < i + 3; ++c) {
            if (!std::isnan(image.rgb[c])) continue;
            image.rgb[c] = 0.0f;
            found = true;
        }
        pixels += found;
    }
    return pixels;
}

std::string pixelCount(long long pixels) { return std::to_string(pixels) + " pixel" + (pixels == 1 ? "" : "s"); }

}  // namespace

struct ColourManagement::Impl {
    std::unique_ptr<OIIO::ColorConfig> config;
    std::string configPath;          // $OCIO, or "" for the built-in spaces
    bool off = false;
    std::string working;
    std::string sceneLinear;         // the scene_linear role's space, "" when the config has none
    std::map<int, std::string> inputs;  // clip (from 0) -> space or "raw"
    std::string output;              // explicit output space, "" for the default
    std::map<std::pair<std::string, std::string>, OIIO::ColorProcessorHandle> processors;
    std::map<int, std::set<std::string>> clipTransforms;
    std::set<std::string> outputTransforms;
    std::map<int, long long> clipped;
    std::map<int, long long> notNumbers;  // pixels with a NaN, taken as black
    std::vector<std::unique_ptr<FloatImage>> spare;  // float images kept for the next frame
    mutable std::mutex mutex;        // the processors and records above; reads and writes overlap

    // A float image whose memory an earlier frame left, so that every frame does not map, fault
    // in and unmap a block of twelve bytes per pixel again.
    std::unique_ptr<FloatImage> takeImage() {
        std::lock_guard<std::mutex> lock(mutex);
        if (spare.empty()) return std::unique_ptr<FloatImage>(new FloatImage);
        std::unique_ptr<FloatImage> image = std::move(spare.back());
        spare.pop_back();
        return image;
    }
    void giveImage(std::unique_ptr<FloatImage> image) {
        std::lock_guard<std::mutex> lock(mutex);
        if (spare.size() < kSpareImages) spare.push_back(std::move(image));
    }
    // A float image on loan for one read or write.
    class Loan {
    public:
        explicit Loan(Impl& m) : m_(m), image_(m.takeImage()) {}
        ~Loan() { m_.giveImage(std::move(image_)); }
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;
        FloatImage& operator*() { return *image_; }

    private:
        Impl& m_;
        std::unique_ptr<FloatImage> image_;
    };

    // The canonical name of a space, role or "raw"; "" when the config knows no such thing.
    std::string resolve(const std::string& name) const {
        if (sameText(name, kRaw)) return kRaw;
        for (const auto& space : config->getColorSpaceNames())
            if (sameText(space, name)) return space;
        if (const char* byRole = config->getColorSpaceNameByRole(name)) return byRole;
        return "";
    }

    std::string knownNames() const {
        std::string all;
        for (const auto& space : config->getColorSpaceNames()) all += (all.empty() ? "" : ", ") + space;
        return all + ", raw";
    }

    bool named(const std::string& what, const std::string& name, std::string* resolved, std::string* error) const {
        *resolved = resolve(name);
        if (!resolved->empty()) return true;
        if (error)
            *error = what + ": unknown colour space '" + name + "' (known: " + knownNames() +
                     (configPath.empty() ? "; set $OCIO to use an OpenColorIO config" : "") + ")";
        return false;
    }

    // The processor between two spaces; null when they are the same.
    bool processor(const std::string& from, const std::string& to, OIIO::ColorProcessorHandle* out,
                   std::string* error) {
        out->reset();
        if (from == to) return true;
        std::lock_guard<std::mutex> lock(mutex);
        auto key = std::make_pair(from, to);
        auto found = processors.find(key);
        if (found == processors.end()) {
            found = processors.emplace(key, config->createColorProcessor(from, to)).first;
        }
        if (!found->second) {
            if (error) *error = "no colour transform from '" + from + "' to '" + to + "' in " + source();
            return false;
        }
        *out = found->second;
        return true;
    }

    std::string source() const {
        return configPath.empty() ? std::string("OpenImageIO's built-in colour spaces")
                                  : "the OpenColorIO config '" + configPath + "'";
    }

    // The space a float file is read from or written to by default.
    bool linearDefault(const std::string& path, std::string* space, std::string* error) const {
        *space = sceneLinear;
        if (!space->empty()) return true;
        if (error)
            *error = "'" + path + "' holds floating-point pixels but " + source() +
                     " has no scene_linear role: name its colour space";
        return false;
    }
};

ColourManagement::ColourManagement() : impl_(new Impl) {}
ColourManagement::~ColourManagement() = default;

bool ColourManagement::configure(const ColourOptions& options, std::vector<std::string>* clipTexts,
                                 const std::string& outputPattern, std::string* error) {
    Impl& m = *impl_;
    m.off = options.off;
    const char* ocio = std::getenv("OCIO");
    m.configPath = ocio ? ocio : "";
    m.config.reset(new OIIO::ColorConfig(m.configPath));
    // Without $OCIO OpenImageIO reports a missing config but still offers its built-in spaces.
    if (!m.configPath.empty() && m.config->has_error()) {
        if (error) *error = "cannot use the OpenColorIO config '" + m.configPath + "' ($OCIO): " + m.config->geterror();
        return false;
    }
    m.config->geterror();
    if (const char* linear = m.config->getColorSpaceNameByRole("scene_linear")) m.sceneLinear = linear;

    if (!options.working.empty()) {
        if (!m.named("--working-colorspace", options.working, &m.working, error)) return false;
        if (m.working == kRaw) {
            if (error) *error = "--working-colorspace: 'raw' is not a colour space the plug-in can work in";
            return false;
        }
    } else {
        for (const char* candidate : {"sRGB", "color_picking", "texture_paint", "matte_paint"}) {
            m.working = m.resolve(candidate);
            if (!m.working.empty()) break;
        }
        if (m.working.empty() && !m.off) {
            if (error)
                *error = m.source() + " has no sRGB space and no colour-picking role: give --working-colorspace";
            return false;
        }
    }

    // "@NAME" at the end of a clip text.
    for (auto& text : *clipTexts) {
        size_t eq = text.find('='), at = text.rfind('@');
        if (eq == std::string::npos || at == std::string::npos || at < eq) continue;
        std::string space = m.resolve(text.substr(at + 1));
        if (space.empty()) {
            // "plate@2x.exr" is a file name; "plate.exr@ACEScgg" a space name mistyped.
            std::string name = text.substr(at + 1);
            struct stat st;
            bool fileName = name.find_first_of("./#%") != std::string::npos ||
                            ::stat(text.substr(eq + 1).c_str(), &st) == 0;
            if (fileName) continue;
            if (error)
                *error = "--clip " + text.substr(0, eq) + ": unknown colour space '" + name + "' after '@' (" +
                         m.source() + "; 'sparkhost info' lists its spaces)";
            return false;
        }
        int clip = std::atoi(text.substr(0, eq).c_str()) - 1;
        m.inputs[clip] = space;
        text.erase(at);
    }
    for (const auto& input : options.inputs) {
        size_t eq = input.find('=');
        std::string number = input.substr(0, eq == std::string::npos ? 0 : eq);
        if (eq == std::string::npos || number.size() != 1 || number[0] < '1' || number[0] > '5') {
            if (error) *error = "bad --input-colorspace '" + input + "': write N=NAME with N from 1 to 5";
            return false;
        }
        int clip = number[0] - '1';
        bool given = std::any_of(clipTexts->begin(), clipTexts->end(),
                                 [&](const std::string& t) { return t.compare(0, 2, number + "=") == 0; });
        if (!given) {
            if (error) *error = "--input-colorspace " + input + ": clip " + number + " is not given";
            return false;
        }
        std::string space;
        if (!m.named("--input-colorspace " + number, input.substr(eq + 1), &space, error)) return false;
        m.inputs[clip] = space;
    }
    if (!options.output.empty() && !m.named("--output-colorspace", options.output, &m.output, error)) return false;
    if (m.off) return true;

    // Every transform the render can need is checked now, before any frame is written.
    OIIO::ColorProcessorHandle unused;
    for (const auto& input : m.inputs)
        if (input.second != kRaw && !m.processor(input.second, m.working, &unused, error)) return false;
    std::string outputSpace = m.output;
    if (outputSpace.empty() && writesFloat(outputPattern) && !m.linearDefault(outputPattern, &outputSpace, error))
        return false;
    if (!outputSpace.empty() && outputSpace != kRaw && !m.processor(m.working, outputSpace, &unused, error))
        return false;
    return true;
}

bool ColourManagement::readClip(int clip, const std::string& path, int depthCode, FrameBuffer* out,
                                std::string* error) {
    Impl& m = *impl_;
    auto explicitSpace = m.inputs.find(clip);
    std::string from = explicitSpace == m.inputs.end() ? "" : explicitSpace->second;
    Impl::Loan loan(m);
    FloatImage& image = *loan;
    image.floatFile = false;
    bool ok;
    if (m.off || from.empty() || from == kRaw)
        ok = readImageAsStored(path, depthCode, out, &image, error);  // integer files stay as they are
    else
        ok = readImageFloat(path, &image, error);
    if (!ok) return false;
    if ((m.off || from.empty() || from == kRaw) && !image.floatFile) {
        std::lock_guard<std::mutex> lock(m.mutex);
        m.clipTransforms[clip].insert("taken as it is");
        return true;
    }
    long long blackened = blackenNaN(image);
    if (m.off) {
        {
            std::lock_guard<std::mutex> lock(m.mutex);
            m.clipTransforms[clip].insert("taken as it is");
            m.notNumbers[clip] += blackened;
        }
        frameFromFloat(image, depthCode, out);
        return true;
    }
    if (from.empty() && !m.linearDefault(path, &from, error)) return false;
    if (from == kRaw) from = m.working;
    OIIO::ColorProcessorHandle convert;
    if (!m.processor(from, m.working, &convert, error)) return false;
    if (convert) convert->apply(image.rgb.data(), image.width, image.height, 3, sizeof(float), 3 * sizeof(float),
                                3 * sizeof(float) * image.width);
    // A transform may make NaN of values it has no answer for.
    if (convert) blackened += blackenNaN(image);
    long long lost = 0;
    for (size_t i = 0; i < image.rgb.size(); i += 3)
        lost += outsideUnit(image.rgb[i]) || outsideUnit(image.rgb[i + 1]) || outsideUnit(image.rgb[i + 2]);
    {
        std::lock_guard<std::mutex> lock(m.mutex);
        m.clipped[clip] += lost;
        m.notNumbers[clip] += blackened;
        m.clipTransforms[clip].insert(convert ? from + " -> " + m.working : "taken as it is (float)");
    }
    frameFromFloat(image, depthCode, out);
    return true;
}

bool ColourManagement::writeFrame(const std::string& path, const FrameBuffer& frame, std::string* error,
                                  const ImageWriteSettings& settings) {
    Impl& m = *impl_;
    std::string to = m.output;
    if (!m.off && to.empty() && writesFloat(path) && !m.linearDefault(path, &to, error)) return false;
    if (m.off || to.empty() || to == kRaw) {
        {
            std::lock_guard<std::mutex> lock(m.mutex);
            m.outputTransforms.insert("taken as it is");
        }
        return writeImage(path, frame, error, settings);
    }
    Impl::Loan loan(m);
    FloatImage& image = *loan;
    image.width = frame.width();
    image.height = frame.height();
    size_t count = size_t(image.width) * size_t(image.height) * 3;
    image.rgb.resize(count);
    float* values = image.rgb.data();
    const uint8_t* bytes = frame.data();
    // A division, not a product with the reciprocal: the values must stay those of earlier renders.
    if (isTwelveBit(frame.depthCode())) {
        using Word = uint16_t __attribute__((__may_alias__));
        const Word* words = reinterpret_cast<const Word*>(bytes);
        for (size_t i = 0; i < count; ++i) values[i] = float(unsigned(words[i]) >> 4) / 4095.0f;
    } else {
        for (size_t i = 0; i < count; ++i) values[i] = float(bytes[i]) / 255.0f;
    }
    OIIO::ColorProcessorHandle convert;
    if (!m.processor(m.working, to, &convert, error)) return false;
    if (convert) convert->apply(image.rgb.data(), image.width, image.height, 3, sizeof(float), 3 * sizeof(float),
                                3 * sizeof(float) * image.width);
    {
        std::lock_guard<std::mutex> lock(m.mutex);
        m.outputTransforms.insert(convert ? m.working + " -> " + to : "taken as it is");
    }
    return writeImageFloat(path, image, isTwelveBit(frame.depthCode()), error, settings);
}

long long ColourManagement::clippedPixels(int clip) const {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    auto found = impl_->clipped.find(clip);
    return found == impl_->clipped.end() ? 0 : found->second;
}

std::vector<std::string> ColourManagement::report() const {
    const Impl& m = *impl_;
    std::vector<std::string> lines;
    auto notNumbers = [&m](int clip) {
        auto found = m.notNumbers.find(clip);
        long long pixels = found == m.notNumbers.end() ? 0 : found->second;
        return pixels ? "; " + pixelCount(pixels) + " not a number (NaN), taken as black" : std::string();
    };
    if (m.off) {
        lines.push_back("colour: management off, every file taken as it is");
        for (const auto& clip : m.clipTransforms) {
            std::string nan = notNumbers(clip.first);
            if (!nan.empty()) lines.push_back("colour: clip " + std::to_string(clip.first + 1) + ":" + nan.substr(1));
        }
        return lines;
    }
    auto join = [](const std::set<std::string>& parts) {
        std::string all;
        for (const auto& p : parts) all += (all.empty() ? "" : ", ") + p;
        return all;
    };
    for (const auto& clip : m.clipTransforms) {
        std::string line = "colour: clip " + std::to_string(clip.first + 1) + ": " + join(clip.second);
        long long lost = clippedPixels(clip.first);
        if (lost) line += "; " + pixelCount(lost) + " clipped (values outside what '" + m.working + "' holds)";
        lines.push_back(line + notNumbers(clip.first));
    }
    if (!m.outputTransforms.empty()) lines.push_back("colour: output: " + join(m.outputTransforms));
    return lines;
}

std::string ColourManagement::describeConfig() const {
    const Impl& m = *impl_;
    std::string text = "Colour\n  config        " + m.source() + "\n  colour spaces " + m.knownNames() + "\n";
    text += "  working space " + (m.working.empty() ? std::string("(none: give --working-colorspace)") : m.working) +
            " (what the plug-in sees)\n";
    text += "  float files   read from and written to " +
            (m.sceneLinear.empty() ? std::string("(no scene_linear role)") : m.sceneLinear) +
            "\n  integer files taken as they are\n";
    return text;
}

}  // namespace sparkhost
