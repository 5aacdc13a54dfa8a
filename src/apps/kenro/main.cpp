#include "commandline.h"

int main(int argc, char **argv)
{
    return Kenro::Cli::runTool(argc, argv);
}
