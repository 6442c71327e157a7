// A whole process that does no more than parse one file: qbbench_bare SCHEMA FILE

#include <exception>

#include "BareReader.hpp"

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    try {
        qbbench::BareReader(argv[1]).parse(argv[2]);
        return 0;
    } catch (std::exception const&) {
        return 1;
    }
}
