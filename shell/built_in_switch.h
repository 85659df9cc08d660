// The description of the built-in switch, which the shell simulates by default. The build makes the text from
// switches/leaf.yaml.
#pragma once

extern const char kBuiltInSwitch[], kNameOfBuiltInSwitch[];
