/* OpenFX interacts: overlay and parameter-interact actions, their properties and the key symbols. */
#ifndef VESK_OFXAPI_INTERACT_H
#define VESK_OFXAPI_INTERACT_H

#include "ofxapi/core.h"

/* The interact's describe and instance actions share the effect's strings. */
#define kOfxActionDescribeInteract kOfxActionDescribe
#define kOfxActionCreateInstanceInteract kOfxActionCreateInstance
#define kOfxActionDestroyInstanceInteract kOfxActionDestroyInstance
#define kOfxInteractActionDraw "OfxInteractActionDraw"
#define kOfxInteractActionPenMotion "OfxInteractActionPenMotion"
#define kOfxInteractActionPenDown "OfxInteractActionPenDown"
#define kOfxInteractActionPenUp "OfxInteractActionPenUp"
#define kOfxInteractActionKeyDown "OfxInteractActionKeyDown"
#define kOfxInteractActionKeyUp "OfxInteractActionKeyUp"
#define kOfxInteractActionKeyRepeat "OfxInteractActionKeyRepeat"
#define kOfxInteractActionGainFocus "OfxInteractActionGainFocus"
#define kOfxInteractActionLoseFocus "OfxInteractActionLoseFocus"

#define kOfxInteractPropHasAlpha "OfxInteractPropHasAlpha"
#define kOfxInteractPropBitDepth "OfxInteractPropBitDepth"
#define kOfxInteractPropPixelScale "OfxInteractPropPixelScale"
#define kOfxInteractPropBackgroundColour "OfxInteractPropBackgroundColour"
#define kOfxInteractPropSlaveToParam "OfxInteractPropSlaveToParam"
#define kOfxInteractPropSuggestedColour "OfxInteractPropSuggestedColour"
#define kOfxInteractPropPenPosition "OfxInteractPropPenPosition"
#define kOfxInteractPropPenViewportPosition "OfxInteractPropPenViewportPosition"
#define kOfxInteractPropPenPressure "OfxInteractPropPenPressure"
#define kOfxInteractPropDrawContext "OfxInteractPropDrawContext"
#define kOfxInteractPropViewportSize "OfxInteractPropViewport" /* removed from the standard */
#define kOfxPropKeySym "kOfxPropKeySym"
#define kOfxPropKeyString "kOfxPropKeyString"

/* X11 key symbols, as the key actions carry them. */
#define kOfxKey_Unknown 0x0
#define kOfxKey_space 0x020
#define kOfxKey_A 0x041
#define kOfxKey_Z 0x05a
#define kOfxKey_a 0x061
#define kOfxKey_z 0x07a
#define kOfxKey_BackSpace 0xff08
#define kOfxKey_Tab 0xff09
#define kOfxKey_Return 0xff0d
#define kOfxKey_Escape 0xff1b
#define kOfxKey_Home 0xff50
#define kOfxKey_Left 0xff51
#define kOfxKey_Up 0xff52
#define kOfxKey_Right 0xff53
#define kOfxKey_Down 0xff54
#define kOfxKey_End 0xff57
#define kOfxKey_Shift_L 0xffe1
#define kOfxKey_Shift_R 0xffe2
#define kOfxKey_Control_L 0xffe3
#define kOfxKey_Control_R 0xffe4
#define kOfxKey_Alt_L 0xffe9
#define kOfxKey_Alt_R 0xffea
#define kOfxKey_Delete 0xffff

#endif
