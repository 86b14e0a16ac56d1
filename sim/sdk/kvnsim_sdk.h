/*
 * What the ASIC model offers a host beyond the SDK's own calls.
 */
#ifndef KVNSIM_SDK_H
#define KVNSIM_SDK_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Destination of a LID path, besides SdkPortTypeChannel: to the front-panel port front_port. The
 * layer-2 side uses it for the LID entries of physical ports. */
#define KVNSIM_SDK_PORT_TYPE_FRONT_PANEL 0

/* Carry out the pending batch of attribute writes, in the order queued. Writes that are
 * no longer possible, because the LID entry is gone or the table of attributes is full, are
 * dropped; returns how many were. */
uint32_t kvnsim_sdk_batch_flush(void);

#ifdef __cplusplus
}
#endif

#endif
