// Operations of the parent application's editors that the toolkit knows by name. The player has
// no such editors: each one takes nothing, does nothing and returns at once.
#pragma once

void add_segment_editor();
void use_segment();
void getImageDeviceTypes();
void InvokeFunction();
void getFileFormats();
