#include "support/story.h"
