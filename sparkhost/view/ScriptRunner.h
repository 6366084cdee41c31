// Scripted actions for `sparkhost view --script FILE`: the hook by which tests, the benchmark and
// demonstrations drive the window as a person would, through its widgets and mouse events. One
// action a line; words with blanks in double quotes; '#' starts a comment.
//
//   pages                          prints the page titles
//   page TITLE                     shows a page of the panel
//   set NAME VALUE                 edits a control through its widget (numbers, on/off, entries)
//   press NAME                     clicks a button
//   type NAME TEXT                 types TEXT into a slider's field key by key, then Return
//   print NAME                     prints the control's label, visible/hidden, enabled/greyed,
//                                  the field's text and whether the control is keyed
//   drag X0,Y0 X1,Y1               a left-button drag in the viewer, in frame pixels
//   frame N | step N | play N      the timeline: jump, step by N, play N frames
//   scrub F0 F1 [MS]               drags the timeline's handle from F0 to F1 over MS ms (2000),
//                                  releases it and prints the frames shown on the way
//   marks                          prints the timeline's key and event marks
//   log                            prints the message log, lines separated by " | "
//   remove-event FRAME NAME        removes an event as its mark's menu does
//   rate FPS | max                 the play rate
//   play-for MS                    plays for MS milliseconds, prints the frames shown
//   smallest                       shrinks the window to its minimum size, prints what the
//                                  picture keeps and whether the panel scrolls
//   pause MS                       lets the window run for MS milliseconds
//   on-close save FILE | discard | cancel
//                                  how the question on closing with unsaved changes is answered
//   close                          closes the window as its close button does
//   mode replayed | ifffs          how time behaves (see ViewSession.h)
//   answer yes | no                how the plug-in's questions are answered
//   fit | 1:1                      the viewer's magnification
//   save-frame FILE                writes the frame shown (without the overlay)
//   screenshot FILE                writes a picture of the whole window
//   open-setup FILE | save-setup FILE | load-keys FILE | reload
//
// Every action prints a line on standard output ending in its duration, from the event to the
// window repainted, e.g. "set Shape Width 40: ok (23.1 ms)". A failing action prints
// "script:LINE: ..." on standard error and the command exits with 2.
#ifndef SPARKHOST_VIEW_SCRIPTRUNNER_H
#define SPARKHOST_VIEW_SCRIPTRUNNER_H

#include <string>
#include <vector>

namespace sparkhost {

class ViewWindow;

// Splits a script line into words (double quotes group words; '#' outside quotes ends the line).
std::vector<std::string> scriptWords(const std::string& line);

// Runs every action of the file; returns the exit code.
int runScript(ViewWindow& window, const std::string& path);

}  // namespace sparkhost

#endif
