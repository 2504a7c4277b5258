#include "app/startup.h"

int main(int argc, char** argv)
{
    return varemo::run(argc, argv);
}
