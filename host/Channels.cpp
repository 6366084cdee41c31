// Animation channels: the folders in which the host's channel editor shows the effect's
// animatable controls, their short channel names, and the import of an amplitude key file into
// the user float channel 93.
#include <cstdio>
#include <unistd.h>

#include "host/ControlTable.h"

namespace {

struct ChannelFolder {
    const char* name;
    int count;
    int controls[11];
};

// Folder order and the order of controls within each folder are what users see in the editor.
const ChannelFolder kFolders[] = {
    {"Style", 11, {12, 11, 43, 44, 45, 46, 50, 51, 52, 53, 54}},
    {"Location", 3, {13, 14, 15}},
    {"Orientation", 1, {48}},
    {"Food", 2, {72, 73}},
    {"Predator", 3, {68, 69, 70}},
    {"Avoid", 2, {76, 77}},
    {"Speed", 2, {79, 80}},
    {"Space", 1, {82}},
    {"Grouping", 1, {84}},
    {"Common", 1, {27}},
};

struct ChannelName {
    int control;
    const char* name;
};

const ChannelName kChannelNames[] = {
    {12, "Seed"},           {13, "Birth X"},          {14, "Birth Y"},
    {15, "Birth Radius"},   {11, "Vesk Size"},        {43, "Shape Width"},
    {44, "Shape Height"},   {45, "Random Sizes"},     {46, "Star Sharpness"},
    {50, "Shape Colour R"}, {51, "Shape Colour G"},   {52, "Shape Colour B"},
    {53, "Random Colours"}, {54, "Shape Density"},    {48, "Base Rotation"},
    {40, "Frames in Cycle"},{72, "Food X"},           {73, "Food Y"},
    {68, "Predator X"},     {69, "Predator Y"},       {70, "Fear of Predator"},
    {76, "Avoid Forward"},  {77, "Avoid Sides"},      {79, "Speed"},
    {80, "Acceleration"},   {82, "Personal Space"},   {84, "Vesk Grouping"},
};

// The user float channel that receives imported amplitude keys.
constexpr int kAmplitudeChannel = 93;

void show_and_pause(const char* text)
{
    sparkMessage(const_cast<char*>(text));
    sleep(2);  // long enough for the message to be read
}

}  // namespace

extern "C" SPARK_EXPORT int SparkChannelEditor(void)
{
    for (const ChannelFolder& folder : kFolders) {
        sparkCeAddFolder(1, const_cast<char*>(folder.name));
        for (int i = 0; i < folder.count; ++i)
            sparkCeAddControl(2, 1, folder.controls[i]);
    }
    // The amplitude channel closes the "Common" folder; it is a user float, not a panel control.
    sparkCeAddControl(2, 0, kAmplitudeChannel);
    // The host's call gives no result to pass on.
    return 0;
}

void RenameChannelEditorEntries()
{
    for (const ChannelName& entry : kChannelNames)
        sparkSetControlName(1, entry.control, const_cast<char*>(entry.name));
}

unsigned long* import_aiff_CB(int, SparkInfoStruct)
{
    static char directory[4096];
    directory[0] = '\0';
    sparkWorkingDir(directory);
    sparkFileBrowserDisplay(directory, const_cast<char*>(""), aiff_file_CB);
    return nullptr;
}

void aiff_file_CB(char* path)
{
    FILE* file = path != nullptr ? std::fopen(path, "r") : nullptr;
    if (file == nullptr) {
        show_and_pause("Unable to open file");
        return;
    }
    int channel = 0;
    int count = 0;
    if (std::fscanf(file, "Channel Amplitude %d:\n\tSize %d\n", &channel, &count) != 2) {
        show_and_pause("Not a valid control file");
        std::fclose(file);
        return;
    }
    // The channel named in the header is ignored: every file loads into the amplitude channel.
    for (int i = 0; i < count; ++i) {
        int key = 0;
        int frame = 0;
        float value = 0.0f;
        if (std::fscanf(file, "\tKey %d\n\t\tFrame %d\n\t\tValue %f\n\t\tEnd\n", &key, &frame,
                        &value) != 3)
            break;  // keys read so far stay set
        // The key number, not the frame, places the key: files are written with key numbers
        // equal to frame numbers, and existing files rely on it.
        sparkSetCurveKey(0, kAmplitudeChannel, key, value);
    }
    std::fclose(file);
}
