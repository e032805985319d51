#include "host/Program.h"

int main(int argc, char** argv) { return VaroHost::Program::run(argc, argv); }
