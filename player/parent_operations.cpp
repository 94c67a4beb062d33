#include "player/parent_operations.h"

void add_segment_editor() {}
void use_segment() {}
void getImageDeviceTypes() {}
void InvokeFunction() {}
void getFileFormats() {}
