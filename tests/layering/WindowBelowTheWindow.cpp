// Must not compile: the core sees none of the window's headers.
#include "shell/MainForm.h"
