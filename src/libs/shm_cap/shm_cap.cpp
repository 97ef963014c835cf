#include "shm_cap.h"

// This stand-in has no video output to capture: it never becomes ready.

int cap_framebuffer_init(int /*device*/)
{
    return -1;
}

int cap_get_framebuffer_data(unsigned char * /*buffer*/, int /*size*/)
{
    return -1;
}
