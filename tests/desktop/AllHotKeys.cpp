// SPDX-License-Identifier: GPL-3.0-or-later
// The program with all three hot keys bound, also those whose lists are not there yet.
#include "app/VellumhoundApp.h"

int main(int argc, char **argv)
{
    return vellumhound::app::runApplication(argc, argv, vellumhound::shell::BoundHotKeys::all);
}
