// SPDX-License-Identifier: GPL-3.0-or-later
// The program with all three hot keys bound, also those whose lists are not there yet.
#include "app/RunApplication.h"

int main(int argc, char **argv)
{
    using namespace vellumhound;
    app::endProcess(app::runApplication(argc, argv, shell::BoundHotKeys::all));
}
