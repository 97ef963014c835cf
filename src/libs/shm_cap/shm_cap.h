#ifndef SHM_CAP_H
#define SHM_CAP_H

/**
 * Framebuffer capture of a local video output: frames of 1920 x 1080 pixels, 24-bit RGB.
 *
 * In this implementation another process produces the frames, in shared memory that is described
 * in shm_cap_segment.h. Both functions may be called on any thread, also at the same time.
 */

#if defined(__GNUC__)
#    define SHM_CAP_EXPORT __attribute__((visibility("default")))
#else
#    define SHM_CAP_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Prepares the capture.
 *
 * @param device  number of the capture device; 0 is the only one
 * @return -1 while no producer is there (call again later), anything else once one is
 */
SHM_CAP_EXPORT int cap_framebuffer_init(int device);

/**
 * Copies the current frame.
 *
 * @param buffer  receives the frame: rows top to bottom without padding, red, green, blue
 * @param size    size of the buffer in bytes
 * @return size if a whole frame was copied; anything else means that there is none, and leaves
 *         the buffer's contents undefined
 */
SHM_CAP_EXPORT int cap_get_framebuffer_data(unsigned char *buffer, int size);

#ifdef __cplusplus
}
#endif

#endif /* SHM_CAP_H */
