#include "Brevio/App/App.h"

int main(int argc, char *argv[])
{
    return Brevio::BrevioMain::run(argc, argv);
}
