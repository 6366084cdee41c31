#include "sparkhost/lib/SparkKind.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <sys/stat.h>

#include "sparkhost/lib/HelpPages.h"
#include "sparkhost/lib/PluginImports.h"

namespace sparkhost {

void* SparkKind::symbol(const char* name) const { return handle_ ? dlsym(handle_, name) : nullptr; }

bool SparkKind::load(const std::string& path, Panel& panel, std::string* error) {
    unload();
    auto fail = [&](const std::string& why) {
        if (error) *error = why;
        return false;
    };
    struct stat st;
    if (::stat(path.c_str(), &st) != 0)
        return fail("cannot load plug-in '" + path + "': " + std::strerror(errno));
    if (!S_ISREG(st.st_mode)) return fail("cannot load plug-in '" + path + "': not a file");
    // Checked before dlopen, which would name only the first missing function, and would run the
    // static constructors of a file that cannot work here.
    std::vector<std::string> missingFunctions;
    std::string why;
    if (!missingHostFunctions(path, &missingFunctions, &why))
        return fail("'" + path + "' is not a Spark plug-in: " + why);
    if (!missingFunctions.empty()) {
        std::string list;
        for (const auto& name : missingFunctions) list += (list.empty() ? "" : ", ") + name;
        return fail("cannot load plug-in '" + path + "': it needs host functions sparkhost does not provide: " +
                    list);
    }
    setHelpEnvironment(path);
    // A bare file name would send dlopen searching the library path instead of this folder.
    std::string where = path.find('/') == std::string::npos ? "./" + path : path;
    dlerror();
    // Static constructors of the plug-in may already call the host.
    host_.makeCurrent();
    void* handle = dlopen(where.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        return fail("cannot load plug-in '" + path + "': " + (why ? why : "unknown reason"));
    }
    auto entry = [&](const char* name) { return dlsym(handle, name); };
    initialise_ = reinterpret_cast<SparkInitialiseFn>(entry("SparkInitialise"));
    clipsFn_ = reinterpret_cast<SparkClipsFn>(entry("SparkClips"));
    tempBuffers_ = reinterpret_cast<SparkMemoryTempBuffersFn>(entry("SparkMemoryTempBuffers"));
    processStart_ = reinterpret_cast<SparkProcessStartFn>(entry("SparkProcessStart"));
    process_ = reinterpret_cast<SparkProcessFn>(entry("SparkProcess"));
    uninitialise_ = reinterpret_cast<SparkUnInitialiseFn>(entry("SparkUnInitialise"));
    interact_ = reinterpret_cast<SparkInteractFn>(entry("SparkInteract"));
    overlay_ = reinterpret_cast<SparkOverlayFn>(entry("SparkOverlay"));
    channelEditor_ = reinterpret_cast<SparkChannelEditorFn>(entry("SparkChannelEditor"));

    // The six entry points of the frame path are mandatory; interaction, overlay and channel
    // editor are not.
    std::string missing;
    auto need = [&](const void* fn, const char* name) {
        if (!fn) missing += std::string(missing.empty() ? "" : ", ") + name;
    };
    need(reinterpret_cast<const void*>(initialise_), "SparkInitialise");
    need(reinterpret_cast<const void*>(clipsFn_), "SparkClips");
    need(reinterpret_cast<const void*>(tempBuffers_), "SparkMemoryTempBuffers");
    need(reinterpret_cast<const void*>(processStart_), "SparkProcessStart");
    need(reinterpret_cast<const void*>(process_), "SparkProcess");
    need(reinterpret_cast<const void*>(uninitialise_), "SparkUnInitialise");
    if (!missing.empty()) {
        dlclose(handle);
        return fail("'" + path + "' is not a Spark plug-in: it does not export " + missing);
    }
    handle_ = handle;
    panel_ = &panel;
    panel.discover([this](const char* name) { return dlsym(handle_, name); });
    return true;
}

void SparkKind::unload() {
    if (!handle_) return;
    host_.makeCurrent();   // static destructors of the plug-in may still call the host
    dlclose(handle_);
    handle_ = nullptr;
    panel_ = nullptr;
}

unsigned SparkKind::initialise() {
    if (!handle_) return 0;
    host_.makeCurrent();
    host_.clearChannels();
    unsigned result = initialise_(host_.info());
    clips_ = clipsFn_();
    host_.setInputClips(clips_);
    tempBuffer_ = tempBuffers_();
    if (channelEditor_) channelEditor_();
    return result;
}

int SparkKind::startRender() {
    if (!handle_) return 0;
    host_.makeCurrent();
    return processStart_(host_.info());
}

unsigned long* SparkKind::process() {
    if (!handle_) return nullptr;
    host_.makeCurrent();
    return process_(host_.info());
}

void SparkKind::uninitialise() {
    if (!handle_) return;
    host_.makeCurrent();
    uninitialise_(host_.info());
}

unsigned long* SparkKind::controlChanged(const Control& control, int reason) {
    SparkCallback cb = panel_ ? panel_->callback(control) : nullptr;
    if (!cb) return nullptr;
    host_.makeCurrent();
    return cb(reason, host_.info());
}

unsigned long* SparkKind::interact(int sx, int sy, float pressure, float vx, float vy, float zoom) {
    if (!interact_) return nullptr;
    host_.makeCurrent();
    return interact_(host_.info(), sx, sy, pressure, vx, vy, zoom);
}

bool SparkKind::overlay(float zoom) {
    if (!overlay_) return false;
    host_.makeCurrent();
    overlay_(host_.info(), zoom);
    return true;
}

}  // namespace sparkhost
