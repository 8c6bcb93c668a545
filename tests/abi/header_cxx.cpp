// The public header must compile as C++ for hosts written in C++, under
// -Wall -Wextra -Werror -pedantic, without SPAN3D_BUILD.
#include "span3d.h"
