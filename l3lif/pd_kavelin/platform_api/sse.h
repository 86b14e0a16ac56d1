/*
 * The port service.
 */
#ifndef SSE_H
#define SSE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A command to a front-panel port, 60 bytes; all bytes but port and cmd are 0. */
struct port_cmd_msg {
    uint8_t byte0;
    uint8_t port; /* 0-based front-panel port */
    uint8_t pad2[6];
    uint32_t cmd; /* 121 internal loopback on, 122 off */
    uint8_t pad12[48];
};

/* Make the port service's call with a message of length bytes. 0 done, non-zero failed. */
int32_t sse_call2(uint32_t call, const struct port_cmd_msg *msg, uint32_t length);

#ifdef __cplusplus
}
#endif

#endif
