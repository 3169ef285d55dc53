// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/RunApplication.h"

int main(int argc, char **argv)
{
    vellumhound::app::endProcess(vellumhound::app::runApplication(argc, argv));
}
