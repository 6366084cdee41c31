// Matching what a person types against the names of controls and list entries.
#ifndef SPARKHOST_LIB_NAMES_H
#define SPARKHOST_LIB_NAMES_H

#include <string>
#include <vector>

namespace sparkhost {

// Lower case, runs of blanks collapsed to one, leading and trailing blanks removed.
std::string normaliseName(const std::string& name);
// Whether a name normalises to `normalised` (itself already normalised). It builds no copy:
// looking up every line of a setup compares against every record of the panel.
bool sameName(const std::string& name, const std::string& normalised);

// Edit distance (insertions, deletions and substitutions of one character each).
int editDistance(const std::string& a, const std::string& b);

// The candidates closest to a name, compared after normalisation, nearest first; ties keep
// the candidates' order. At most `count` entries, duplicates removed.
std::vector<std::string> closestNames(const std::string& name,
                                      const std::vector<std::string>& candidates, size_t count);

// Removes trailing blanks and line ends.
std::string trimRight(const std::string& s);
std::string trim(const std::string& s);
// The text as it can be shown on a terminal: control characters and bytes that are not UTF-8
// written as \xNN, so that a binary file's line echoed in a message cannot garble the screen.
std::string printable(const std::string& s);

}  // namespace sparkhost

#endif
