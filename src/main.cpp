// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/VellumhoundApp.h"

int main(int argc, char **argv)
{
    return vellumhound::app::runApplication(argc, argv);
}
