// The image effect suite: the effect's properties and parameters, clips, images and image memory.
#include <cstdlib>
#include <cstring>

#include "sparkhost/ofx/Objects.h"
#include "sparkhost/ofx/OfxKind.h"

namespace sparkhost {
namespace ofx {

namespace {

OfxStatus getPropertySet(OfxImageEffectHandle h, OfxPropertySetHandle* props) {
    EffectObject* e = effectFrom(h);
    if (!e) return kOfxStatErrBadHandle;
    if (!props) return kOfxStatErrValue;
    *props = e->props.handle();
    return kOfxStatOK;
}

OfxStatus getParamSet(OfxImageEffectHandle h, OfxParamSetHandle* set) {
    EffectObject* e = effectFrom(h);
    if (!e) return kOfxStatErrBadHandle;
    if (!set) return kOfxStatErrValue;
    *set = reinterpret_cast<OfxParamSetHandle>(&e->params);
    return kOfxStatOK;
}

OfxStatus clipDefine(OfxImageEffectHandle h, const char* name, OfxPropertySetHandle* props) {
    EffectObject* e = effectFrom(h);
    if (!e || e->instance) return kOfxStatErrBadHandle;   // clips are defined while describing
    if (!name || !*name) return kOfxStatErrValue;
    if (e->clip(name)) return kOfxStatErrExists;
    std::unique_ptr<ClipObject> c(new ClipObject);
    c->name = name;
    c->effect = e;
    defineClipProperties(*c);
    if (props) *props = c->props.handle();
    e->clips.push_back(std::move(c));
    return kOfxStatOK;
}

OfxStatus clipGetHandle(OfxImageEffectHandle h, const char* name, OfxImageClipHandle* clip,
                        OfxPropertySetHandle* props) {
    EffectObject* e = effectFrom(h);
    if (!e || !e->instance) return kOfxStatErrBadHandle;
    if (!name || !clip) return kOfxStatErrValue;
    ClipObject* c = e->clip(name);
    if (!c) return kOfxStatErrUnknown;
    *clip = reinterpret_cast<OfxImageClipHandle>(c);
    if (props) *props = c->props.handle();
    return kOfxStatOK;
}

OfxStatus clipGetPropertySet(OfxImageClipHandle h, OfxPropertySetHandle* props) {
    ClipObject* c = clipFrom(h);
    if (!c) return kOfxStatErrBadHandle;
    if (!props) return kOfxStatErrValue;
    *props = c->props.handle();
    return kOfxStatOK;
}

OfxStatus clipGetImage(OfxImageClipHandle h, OfxTime time, const OfxRectD*, OfxPropertySetHandle* image) {
    ClipObject* c = clipFrom(h);
    if (!c || !c->effect || !c->effect->instance || !c->effect->owner) return kOfxStatErrBadHandle;
    if (!image) return kOfxStatErrValue;
    // Images are whole frames: a region asked for is always inside what is handed out.
    return c->effect->owner->getImage(*c, time, image);
}

OfxStatus clipReleaseImage(OfxPropertySetHandle image) {
    PropertySet* set = PropertySet::from(image);
    if (!set) return kOfxStatErrBadHandle;
    auto* img = static_cast<ImageObject*>(set);
    if (!img->effect || !img->effect->owner) return kOfxStatErrBadHandle;
    return img->effect->owner->releaseImage(image);
}

OfxStatus clipGetRegionOfDefinition(OfxImageClipHandle h, OfxTime time, OfxRectD* bounds) {
    ClipObject* c = clipFrom(h);
    if (!c || !c->effect || !c->effect->instance || !c->effect->owner) return kOfxStatErrBadHandle;
    if (!bounds) return kOfxStatErrValue;
    return c->effect->owner->clipRegion(*c, time, bounds);
}

int abortRender(OfxImageEffectHandle) { return 0; }

// Image memory: a block that may move between unlock and lock (here it never does).
struct ImageMemory {
    unsigned tag = kMemoryTag + 2;
    void* data = nullptr;
    int locks = 0;
};

ImageMemory* memoryFrom(OfxImageMemoryHandle h) {
    auto* m = reinterpret_cast<ImageMemory*>(h);
    return m && m->tag == kMemoryTag + 2 ? m : nullptr;
}

OfxStatus imageMemoryAlloc(OfxImageEffectHandle, size_t bytes, OfxImageMemoryHandle* handle) {
    if (!handle) return kOfxStatErrValue;
    void* data = std::aligned_alloc(16, ((bytes + 15) / 16) * 16 + 16);
    if (!data) return kOfxStatErrMemory;
    auto* m = new ImageMemory;
    m->data = data;
    *handle = reinterpret_cast<OfxImageMemoryHandle>(m);
    return kOfxStatOK;
}

OfxStatus imageMemoryFree(OfxImageMemoryHandle h) {
    ImageMemory* m = memoryFrom(h);
    if (!m) return kOfxStatErrBadHandle;
    std::free(m->data);
    m->tag = 0;
    delete m;
    return kOfxStatOK;
}

OfxStatus imageMemoryLock(OfxImageMemoryHandle h, void** data) {
    ImageMemory* m = memoryFrom(h);
    if (!m) return kOfxStatErrBadHandle;
    if (!data) return kOfxStatErrValue;
    ++m->locks;
    *data = m->data;
    return kOfxStatOK;
}

OfxStatus imageMemoryUnlock(OfxImageMemoryHandle h) {
    ImageMemory* m = memoryFrom(h);
    if (!m) return kOfxStatErrBadHandle;
    if (m->locks > 0) --m->locks;
    return kOfxStatOK;
}

const OfxImageEffectSuiteV1 kSuite = {getPropertySet,    getParamSet,       clipDefine,
                                      clipGetHandle,     clipGetPropertySet, clipGetImage,
                                      clipReleaseImage,  clipGetRegionOfDefinition,
                                      abortRender,       imageMemoryAlloc,  imageMemoryFree,
                                      imageMemoryLock,   imageMemoryUnlock};

}  // namespace

const void* imageEffectSuite() { return &kSuite; }

}  // namespace ofx
}  // namespace sparkhost
