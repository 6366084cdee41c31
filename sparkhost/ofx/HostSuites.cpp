// The host descriptor and the small suites: memory, threads, messages, interacts, progress and
// the time line. The host structure and every suite are process-wide, so all plug-ins of one
// binary get the same pointers.
#include <atomic>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include "sparkhost/lib/Host.h"
#include "sparkhost/ofx/Bundle.h"
#include "sparkhost/ofx/Objects.h"
#include "sparkhost/ofx/OfxKind.h"

namespace sparkhost {
namespace ofx {

namespace {

PropertySet& hostProperties() {
    static PropertySet* set = [] {
        auto* s = new PropertySet;
        s->defineInt(kOfxPropAPIVersion, {1, 4}, 2);
        s->defineString(kOfxPropType, {kOfxTypeImageEffectHost});
        s->defineString(kOfxPropName, {"org.vesk.sparkhost"});
        s->defineString(kOfxPropLabel, {"sparkhost"});
        s->defineInt(kOfxPropVersion, {1, 0, 0}, 3);
        s->defineString(kOfxPropVersionLabel, {"1.0"});
        s->defineInt(kOfxImageEffectHostPropIsBackground, {0});
        s->defineInt(kOfxImageEffectPropSupportsOverlays, {1});
        // Every image is a whole frame at full resolution.
        s->defineInt(kOfxImageEffectPropSupportsMultiResolution, {0});
        s->defineInt(kOfxImageEffectPropSupportsTiles, {0});
        s->defineInt(kOfxImageEffectPropTemporalClipAccess, {1});
        s->defineString(kOfxImageEffectPropSupportedComponents,
                        {kOfxImageComponentRGBA, kOfxImageComponentRGB, kOfxImageComponentAlpha}, 3);
        s->defineString(kOfxImageEffectPropSupportedContexts,
                        {kOfxImageEffectContextGeneral, kOfxImageEffectContextFilter}, 2);
        s->defineString(kOfxImageEffectPropSupportedPixelDepths,
                        {kOfxBitDepthByte, kOfxBitDepthShort, kOfxBitDepthFloat}, 3);
        s->defineInt(kOfxImageEffectPropSupportsMultipleClipDepths, {0});
        s->defineInt(kOfxImageEffectPropSupportsMultipleClipPARs, {0});
        s->defineInt(kOfxImageEffectPropSetableFrameRate, {0});
        s->defineInt(kOfxImageEffectPropSetableFielding, {0});
        s->defineInt(kOfxParamHostPropSupportsCustomInteract, {0});
        s->defineInt(kOfxParamHostPropSupportsStringAnimation, {0});
        s->defineInt(kOfxParamHostPropSupportsChoiceAnimation, {0});
        s->defineInt(kOfxParamHostPropSupportsBooleanAnimation, {0});
        s->defineInt(kOfxParamHostPropSupportsCustomAnimation, {0});
        s->defineInt(kOfxParamHostPropSupportsParametricAnimation, {0});
        s->defineInt(kOfxParamHostPropMaxParameters, {-1});
        s->defineInt(kOfxParamHostPropMaxPages, {-1});
        s->defineInt(kOfxParamHostPropPageRowColumnCount, {0, 0}, 2);
        s->definePointer(kOfxPropHostOSHandle, {nullptr});
        // Renders ask for their frames in order on one instance unless --ofx-host-mode says not.
        s->defineInt(kOfxImageEffectInstancePropSequentialRender, {2});
        s->defineString(kOfxImageEffectPropOpenGLRenderSupported, {"false"});
        s->defineInt(kOfxImageEffectPropRenderQualityDraft, {0});
        s->defineString(kOfxImageEffectHostPropNativeOrigin, {kOfxHostNativeOriginBottomLeft});
        return s;
    }();
    return *set;
}

const void* fetchSuite(OfxPropertySetHandle host, const char* name, int version) {
    if (host != hostProperties().handle() || !name) return nullptr;
    std::string n = name;
    if (n == kOfxPropertySuite && version == 1) return propertySuite();
    if (n == kOfxImageEffectSuite && version == 1) return imageEffectSuite();
    if (n == kOfxParameterSuite && version == 1) return parameterSuite();
    if (n == kOfxMemorySuite && version == 1) return memorySuite();
    if (n == kOfxMultiThreadSuite && version == 1) return multiThreadSuite();
    if (n == kOfxMessageSuite && (version == 1 || version == 2)) return messageSuite();
    if (n == kOfxInteractSuite && version == 1) return interactSuite();
    if (n == kOfxProgressSuite && (version == 1 || version == 2)) return progressSuite(version);
    if (n == kOfxTimeLineSuite && version == 1) return timeLineSuite();
    return nullptr;
}

// ---- memory ---------------------------------------------------------------------------------

// Each block carries a header in front, so that a pointer the host never handed out is known.
struct alignas(32) BlockHeader {
    unsigned tag;
    size_t bytes;
};

OfxStatus memoryAlloc(void*, size_t bytes, void** data) {
    if (!data) return kOfxStatErrValue;
    void* raw = std::aligned_alloc(32, ((sizeof(BlockHeader) + bytes + 31) / 32) * 32);
    if (!raw) {
        *data = nullptr;
        return kOfxStatErrMemory;
    }
    auto* header = static_cast<BlockHeader*>(raw);
    header->tag = kMemoryTag;
    header->bytes = bytes;
    *data = header + 1;
    return kOfxStatOK;
}

OfxStatus memoryFree(void* data) {
    if (!data) return kOfxStatErrBadHandle;
    auto* header = static_cast<BlockHeader*>(data) - 1;
    if (header->tag != kMemoryTag) return kOfxStatErrBadHandle;
    header->tag = 0;
    std::free(header);
    return kOfxStatOK;
}

const OfxMemorySuiteV1 kMemory = {memoryAlloc, memoryFree};

// ---- threads --------------------------------------------------------------------------------

thread_local unsigned tThreadIndex = 0;
thread_local bool tSpawned = false;

OfxStatus multiThread(OfxThreadFunctionV1 func, unsigned count, void* arg) {
    if (!func) return kOfxStatErrValue;
    if (tSpawned) return kOfxStatErrExists;   // not recursive
    if (count == 0) count = 1;
    std::vector<std::thread> threads;
    try {
        for (unsigned i = 1; i < count; ++i)
            threads.emplace_back([=] {
                tThreadIndex = i;
                tSpawned = true;
                func(i, count, arg);
            });
    } catch (...) {
        for (auto& t : threads) t.join();
        return kOfxStatFailed;
    }
    tSpawned = true;
    tThreadIndex = 0;
    func(0, count, arg);
    tSpawned = false;
    for (auto& t : threads) t.join();
    return kOfxStatOK;
}

OfxStatus multiThreadNumCPUs(unsigned* n) {
    if (!n) return kOfxStatErrValue;
    unsigned hw = std::thread::hardware_concurrency();
    *n = hw ? hw : 1;
    return kOfxStatOK;
}

OfxStatus multiThreadIndex(unsigned* index) {
    if (!index) return kOfxStatErrValue;
    *index = tSpawned ? tThreadIndex : 0;
    return kOfxStatOK;
}

int multiThreadIsSpawnedThread() { return tSpawned ? 1 : 0; }

// A counting lock: the count may start above zero, and each lock and unlock moves it by one.
struct Mutex {
    unsigned tag = kMemoryTag + 1;
    std::mutex m;
    std::condition_variable free;
    std::thread::id owner;
    int count = 0;
};

Mutex* mutexFrom(OfxMutexHandle h) {
    auto* m = reinterpret_cast<Mutex*>(h);
    return m && m->tag == kMemoryTag + 1 ? m : nullptr;
}

OfxStatus mutexCreate(OfxMutexHandle* handle, int lockCount) {
    if (!handle) return kOfxStatErrValue;
    auto* m = new Mutex;
    m->count = lockCount;
    if (lockCount > 0) m->owner = std::this_thread::get_id();
    *handle = reinterpret_cast<OfxMutexHandle>(m);
    return kOfxStatOK;
}

OfxStatus mutexDestroy(const OfxMutexHandle handle) {
    Mutex* m = mutexFrom(handle);
    if (!m) return kOfxStatErrBadHandle;
    m->tag = 0;
    delete m;
    return kOfxStatOK;
}

OfxStatus mutexLock(const OfxMutexHandle handle) {
    Mutex* m = mutexFrom(handle);
    if (!m) return kOfxStatErrBadHandle;
    std::unique_lock<std::mutex> lock(m->m);
    auto me = std::this_thread::get_id();
    m->free.wait(lock, [&] { return m->count <= 0 || m->owner == me; });
    if (m->count <= 0) m->count = 0;
    ++m->count;
    m->owner = me;
    return kOfxStatOK;
}

OfxStatus mutexUnLock(const OfxMutexHandle handle) {
    Mutex* m = mutexFrom(handle);
    if (!m) return kOfxStatErrBadHandle;
    std::lock_guard<std::mutex> lock(m->m);
    --m->count;
    if (m->count <= 0) {
        m->owner = std::thread::id();
        m->free.notify_all();
    }
    return kOfxStatOK;
}

OfxStatus mutexTryLock(const OfxMutexHandle handle) {
    Mutex* m = mutexFrom(handle);
    if (!m) return kOfxStatErrBadHandle;
    std::lock_guard<std::mutex> lock(m->m);
    auto me = std::this_thread::get_id();
    if (m->count > 0 && m->owner != me) return kOfxStatFailed;
    if (m->count <= 0) m->count = 0;
    ++m->count;
    m->owner = me;
    return kOfxStatOK;
}

const OfxMultiThreadSuiteV1 kThreads = {multiThread, multiThreadNumCPUs, multiThreadIndex,
                                        multiThreadIsSpawnedThread, mutexCreate, mutexDestroy,
                                        mutexLock, mutexUnLock, mutexTryLock};

// ---- messages -------------------------------------------------------------------------------

std::string vformat(const char* format, va_list args) {
    if (!format) return "";
    char buffer[2048];
    va_list copy;
    va_copy(copy, args);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    int n = std::vsnprintf(buffer, sizeof buffer, format, copy);
    va_end(copy);
    if (n < 0) return format;
    if (size_t(n) < sizeof buffer) return buffer;
    std::string big(size_t(n) + 1, '\0');
    std::vsnprintf(&big[0], big.size(), format, args);
#pragma GCC diagnostic pop
    big.resize(size_t(n));
    return big;
}

OfxStatus post(void* handle, const char* type, const char* format, va_list args, bool persistent) {
    EffectObject* effect = effectFrom(handle);
    std::string kind = type ? type : kOfxMessageMessage;
    std::string text = vformat(format, args);
    if (persistent) {
        if (!effect || !effect->instance) return kOfxStatErrBadHandle;
        if (kind != kOfxMessageError && kind != kOfxMessageWarning && kind != kOfxMessageMessage)
            return kOfxStatErrValue;
    }
    if (effect && effect->owner) {
        effect->owner->message(effect, kind, text, persistent);
    } else {
        std::fprintf(stderr, "sparkhost: %s\n", text.c_str());
    }
    // Nobody is asked: a question is answered "yes", as a batch render must go on.
    return kind == kOfxMessageQuestion ? kOfxStatReplyYes : kOfxStatOK;
}

OfxStatus message(void* handle, const char* type, const char*, const char* format, ...) {
    va_list args;
    va_start(args, format);
    OfxStatus s = post(handle, type, format, args, false);
    va_end(args);
    return s;
}

OfxStatus setPersistentMessage(void* handle, const char* type, const char*, const char* format, ...) {
    va_list args;
    va_start(args, format);
    OfxStatus s = post(handle, type, format, args, true);
    va_end(args);
    return s;
}

OfxStatus clearPersistentMessage(void* handle) {
    EffectObject* effect = effectFrom(handle);
    if (!effect || !effect->instance) return kOfxStatErrBadHandle;
    if (effect->owner) effect->owner->clearPersistentMessage();
    return kOfxStatOK;
}

const OfxMessageSuiteV2 kMessages = {message, setPersistentMessage, clearPersistentMessage};

// ---- interacts ------------------------------------------------------------------------------

OfxStatus interactSwapBuffers(OfxInteractHandle h) {
    // Overlays draw into the host's picture, which the host shows itself.
    return interactFrom(h) ? kOfxStatOK : kOfxStatErrBadHandle;
}

OfxStatus interactRedraw(OfxInteractHandle h) {
    InteractObject* i = interactFrom(h);
    if (!i) return kOfxStatErrBadHandle;
    i->redrawWanted = true;
    return kOfxStatOK;
}

OfxStatus interactGetPropertySet(OfxInteractHandle h, OfxPropertySetHandle* props) {
    InteractObject* i = interactFrom(h);
    if (!i) return kOfxStatErrBadHandle;
    if (!props) return kOfxStatErrValue;
    *props = i->props.handle();
    return kOfxStatOK;
}

const OfxInteractSuiteV1 kInteract = {interactSwapBuffers, interactRedraw, interactGetPropertySet};

// ---- progress and time line -----------------------------------------------------------------

OfxStatus progressStart1(void* handle, const char*) { return effectFrom(handle) ? kOfxStatOK : kOfxStatErrBadHandle; }
OfxStatus progressStart2(void* handle, const char*, const char*) {
    return effectFrom(handle) ? kOfxStatOK : kOfxStatErrBadHandle;
}
OfxStatus progressUpdate(void* handle, double fraction) {
    EffectObject* e = effectFrom(handle);
    if (!e) return kOfxStatErrBadHandle;
    if (e->owner) e->owner->progress(fraction);
    return kOfxStatOK;
}
OfxStatus progressEnd(void* handle) { return effectFrom(handle) ? kOfxStatOK : kOfxStatErrBadHandle; }

const OfxProgressSuiteV1 kProgress1 = {progressStart1, progressUpdate, progressEnd};
const OfxProgressSuiteV2 kProgress2 = {progressStart2, progressUpdate, progressEnd};

OfxStatus getTime(void* handle, double* time) {
    EffectObject* e = effectFrom(handle);
    if (!e || !e->owner) return kOfxStatErrBadHandle;
    if (!time) return kOfxStatErrValue;
    *time = e->owner->currentTime();
    return kOfxStatOK;
}

OfxStatus gotoTime(void* handle, double time) {
    EffectObject* e = effectFrom(handle);
    if (!e || !e->owner) return kOfxStatErrBadHandle;
    return e->owner->gotoTime(time);
}

OfxStatus getTimeBounds(void* handle, double* first, double* last) {
    EffectObject* e = effectFrom(handle);
    if (!e || !e->owner) return kOfxStatErrBadHandle;
    if (!first || !last) return kOfxStatErrValue;
    e->owner->timeBounds(first, last);
    return kOfxStatOK;
}

const OfxTimeLineSuiteV1 kTimeLine = {getTime, gotoTime, getTimeBounds};

}  // namespace

OfxHost* hostStruct() {
    static OfxHost host = {hostProperties().handle(), fetchSuite};
    return &host;
}

const void* memorySuite() { return &kMemory; }
const void* multiThreadSuite() { return &kThreads; }
const void* messageSuite() { return &kMessages; }
const void* interactSuite() { return &kInteract; }
const void* progressSuite(int version) {
    return version == 2 ? static_cast<const void*>(&kProgress2) : static_cast<const void*>(&kProgress1);
}
const void* timeLineSuite() { return &kTimeLine; }

}  // namespace ofx
}  // namespace sparkhost
