#include "span3d.h"

extern "C" SPAN3D_API int32_t InitEngine3D(void) { return 0; }
extern "C" SPAN3D_API void ReleaseEngine3D(void) {}
