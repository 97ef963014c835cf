// A producer of captured frames in a process of its own, which can be killed. Carries out commands
// from standard input, one a line, and answers each with "done":
//     solid N   a frame whose bytes are all N
//     grid N    gridPicture(N)
//     begin N   half of a frame whose bytes are all N
// Usage: captureproducer NAME

#include "capturesegment.h"
#include "testpictures.h"

#include <cstdio>
#include <iostream>
#include <string>

int main(int argc, char *argv[])
{
    using namespace Morvek::Tests;
    if (argc != 2)
        return 2;
    CaptureSegment segment(argv[1]);
    if (!segment.isValid())
        return 1;
    std::string command;
    int nArgument = 0;
    while (std::cin >> command >> nArgument) {
        if (command == "solid")
            segment.writeFrame(uchar(nArgument));
        else if (command == "grid")
            segment.writeFrame(gridPicture(nArgument));
        else if (command == "begin")
            segment.beginFrame(uchar(nArgument));
        else
            return 2;
        std::cout << "done" << std::endl;
    }
    return 0;
}
