// Reading the plug-in's control records generically, and the "Simple Food Hunt" preset as the
// panel shows it, shared by the in-process and the end-to-end panel tests.
#ifndef TESTS_E2E_PANEL_RECORDS_H
#define TESTS_E2E_PANEL_RECORDS_H

#include <cmath>

#include "sparkhost/lib/Panel.h"

namespace panel_records {

// A record's value as a number: checkbox state byte, list entry (from 0), packed colour word,
// or the numeric value.
inline double value_of(const sparkhost::Control& c)
{
    switch (c.kind) {
    case sparkhost::ControlKind::Boolean: return c.asBoolean()->Value & 0xFF;
    case sparkhost::ControlKind::List: return c.asList()->Value;
    case sparkhost::ControlKind::Colour: return double(c.asColour()->Color & 0xFFFFFFFFul);
    case sparkhost::ControlKind::Int: return c.asInt()->Value;
    case sparkhost::ControlKind::Float:
    case sparkhost::ControlKind::UserFloat: return c.asFloat()->Value;
    default: return NAN;
    }
}

struct Expected {
    const char* record;
    double value;
};

// "Simple Food Hunt" in host units: positions and the radius in percent of the frame, lists
// counted from 0, the colour as its packed word (32640 >> 7 = 255 in every byte).
const Expected kSimpleFoodHunt[] = {
    {"SparkInt9", 40},        {"SparkInt12", 1650},     {"SparkFloat13", 80},
    {"SparkFloat14", 80},     {"SparkFloat15", 25},     {"SparkBoolean20", 0},
    {"SparkBoolean21", 0},    {"SparkInt11", 40},       {"SparkPup42", 5},
    {"SparkFloat43", 50},     {"SparkFloat44", 50},     {"SparkFloat45", 100},
    {"SparkFloat46", 50},     {"SparkPup59", 0},        {"SparkColor49", 4294967295.0},
    {"SparkFloat50", 100},    {"SparkFloat51", 100},    {"SparkFloat52", 100},
    {"SparkFloat53", 50},     {"SparkFloat54", 100},    {"SparkBoolean55", 0},
    {"SparkBoolean47", 0},    {"SparkFloat48", 0},      {"SparkBoolean38", 0},
    {"SparkBoolean39", 0},    {"SparkInt40", 5},        {"SparkBoolean71", 1},
    {"SparkFloat72", 20},     {"SparkFloat73", 20},     {"SparkBoolean67", 0},
    {"SparkFloat68", 50},     {"SparkFloat69", 50},     {"SparkFloat70", 20},
    {"SparkBoolean75", 0},    {"SparkFloat76", 5},      {"SparkFloat77", 10},
    {"SparkBoolean78", 0},    {"SparkFloat79", 20},     {"SparkFloat80", 10},
    {"SparkBoolean81", 0},    {"SparkFloat82", 20},     {"SparkBoolean83", 0},
    {"SparkFloat84", 20},
};

}  // namespace panel_records

#endif
