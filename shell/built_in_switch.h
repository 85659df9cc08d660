// The description of the switch that the shell simulates unless told otherwise. The build makes the text from
// switches/leaf.yaml.
#pragma once

extern const char kBuiltInSwitch[];
