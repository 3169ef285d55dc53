// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/Application.h"

int main(int argc, char **argv)
{
    return vellumhound::shell::runApplication(argc, argv);
}
