// SPDX-License-Identifier: GPL-3.0-or-later
// vellumhound-extract: reads the text of files for vellumhound. Started by it alone, with a socket
// as descriptor 3; serves until that is closed. Exit status 3: the kernel cannot confine it.
#include "extract/helper/Readers.h"
#include "extract/helper/Server.h"

#include <unistd.h>

using namespace vellumhound::extract;

int main()
{
    ::close_range(helper::requestSocket + 1, ~0u, 0);
    helper::stepBehindOthers();
    helper::prepareReaders();
    const auto confinement = helper::confine();
    // What libraries would do at the end of the program is of no use to anybody.
    ::_exit(confinement ? helper::serve(*confinement) : 3);
}
