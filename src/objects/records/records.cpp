// Compiles the layout pins of records.h into the library, so that a change to
// a public record that breaks the layout fails the library build itself and
// not only the builds of the files that happen to include the header.
#include "objects/records/records.h"
