// Setups: every control value of a plug-in and every animation curve, in a text file a person
// can read and edit.
//
//   # sparkhost setup
//   SparkInt11 = 300  # Vesk Size
//   SparkString0 = 1: Background Clip
//   key SparkFloat13 1 84
//   key SparkFloat13 50 20
//   event 45 SparkPush6  # Restart
//
// One record per line as "record = value" with the record's raw value (list positions from 0,
// colours as packed words); "key record frame value" lines give the keys of a curve, and a
// "shot-start frame" line the first frame of the shot the setup renders (see ShotCatchUp.h), and
// "event frame record" lines the buttons placed at frames of the shot (see ShotEvents.h).
//
// Values follow the rule every path follows (Panel::numberProblem): finite, whole for integer
// controls, within the range, list positions within the list. A value the plug-in itself stored
// outside the range (a preset's) is written as "stored record = value" and read back as it is;
// any other value outside is an error naming the file, the line and the range.
#ifndef SPARKHOST_LIB_SETUP_H
#define SPARKHOST_LIB_SETUP_H

#include <string>

namespace sparkhost {

class Host;
class Panel;

bool writeSetup(const Panel& panel, const Host& host, const std::string& path, std::string* error);
// Values of records the plug-in does not have are reported and skipped; a loaded setup replaces
// every curve and every event the host held. An event of a record that is not one of the
// plug-in's simulation buttons, or at a frame that is not whole, is an error naming the line, as
// are two keys of one curve at one frame.
bool readSetup(const Panel& panel, Host& host, const std::string& path, std::string* error);

}  // namespace sparkhost

#endif
