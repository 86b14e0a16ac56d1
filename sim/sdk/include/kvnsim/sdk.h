/*
 * The ASIC model as a test bench: what libkvnsim_sdk offers the tests of a host beside the SDK's
 * own calls, which it answers (platform_api/libsdk.h). Fail calls, fill tables, read what the ASIC
 * holds, watch the calls, ask what stayed.
 *
 * There is one ASIC, as after power-on when the program starts. No locks: calls must not overlap.
 * Returned texts are the model's. An SDK call that finds no memory returns KVNSIM_SDK_E_INTERNAL
 * and may have done a part of its work; kvnsim_sdk_reset then makes the tables certain.
 *
 * The kvnsim_sdk_next functions walk over the tables. A walk begins with a record of zeros; each
 * call gives the next record in the order of the numbers, and 0 after the last:
 *
 *     struct kvnsim_sdk_intf intf = {0};
 *     while (kvnsim_sdk_next_intf(&intf, sizeof intf))
 *         printf("interface %u\n", (unsigned)intf.intf_id);
 *
 * A walk holds nothing: the ASIC may change meanwhile, the record is the caller's, and the numbers
 * in it say where the walk stands, so that it can begin anywhere. Later versions may append members
 * to these records and to struct kvnsim_sdk_call; the size says which the caller knows.
 */
#ifndef KVNSIM_SDK_H
#define KVNSIM_SDK_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "platform_api/libsdk.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The SDK's results. Failures are negative, to distinguish them from identifiers in one word. */
enum kvnsim_sdk_status {
    KVNSIM_SDK_E_NONE = 0,       /* success */
    KVNSIM_SDK_E_INTERNAL = -1,  /* the device failed */
    KVNSIM_SDK_E_PARAM = -2,     /* an argument is invalid */
    KVNSIM_SDK_E_NOT_FOUND = -3, /* an identifier names nothing */
    KVNSIM_SDK_E_EXISTS = -4,    /* it already exists */
    KVNSIM_SDK_E_FULL = -5,      /* a table has no room */
    KVNSIM_SDK_E_BUSY = -6,      /* something refers to the object, or the batch is not flushed */
    KVNSIM_SDK_E_UNAVAIL = -7,   /* the device does not have this */
    KVNSIM_SDK_E_TIMEOUT = -8    /* the device did not answer */
};

/* "SDK_E_FULL"; "unknown status" for any other number. A constant text. */
const char *kvnsim_sdk_status_name(int32_t status);

/* Interface types of libsdk_intf_create. */
enum kvnsim_sdk_intf_type {
    KVNSIM_SDK_ROUTED_PORT = 1, /* of a front-panel port or a port-channel */
    KVNSIM_SDK_SUB_INTERFACE = 2,
    KVNSIM_SDK_SVI = 3
};

/* Where a LID path leads, besides SdkPortTypeChannel: to the front-panel port front_port. The
 * layer-2 side uses it for the LID entries of physical ports. */
enum kvnsim_sdk_port_type { KVNSIM_SDK_PORT_TYPE_FRONT_PANEL = 0 };

/* ---- The ASIC ---- */

/*
 * Empty tables, default capacities, no failures and counts of 0, as after power-on. What watches
 * the calls stays.
 *
 * Returns 0   done
 *         -1  no memory; all is as before
 */
int32_t kvnsim_sdk_reset(void);

/*
 * Carry out the pending batch of attribute writes, in the order queued. Interfaces cannot be
 * destroyed before: a host's fwmpd_kavelin_batch_flush calls this.
 *
 * Returns the number of writes dropped, because the LID entry is gone or the table of attributes is
 *         full; kvnsim_sdk_last_refusal reports the first
 *         UINT32_MAX  no memory; call again
 */
uint32_t kvnsim_sdk_batch_flush(void);

/*
 * Why the last failing SDK call failed: "port-channel 3 is held by LID entry 7 (...)", or that it
 * was made to fail; or why the last flush dropped a write. Empty before the first. Valid until the
 * next failing call, flush or reset.
 */
const char *kvnsim_sdk_last_refusal(void);

/*
 * Change the capacity of a table, named as kvnsim_sdk_next_table does; objects that exist stay.
 *
 * Returns NULL, or the error with the possible names or numbers, valid until the next function that
 * returns one.
 */
const char *kvnsim_sdk_set_limit(const char *table, uint32_t capacity);

/* Occupancy of a table. The walk goes by the name, which is a constant text. */
struct kvnsim_sdk_table {
    const char *name;        /* "intf" */
    const char *description; /* "interfaces" */
    uint32_t used, high_water, capacity;
};
int32_t kvnsim_sdk_next_table(struct kvnsim_sdk_table *table, size_t size);

/* ---- Failures ---- */

/*
 * Make SDK calls fail. words are those of kvnsim run --fail: "libsdk_intf_create" fails every
 * call, "libsdk_intf_create:2" the second from now on, "libsdk_intf_create:2=SDK_E_FULL" with that
 * status; without one it is SDK_E_INTERNAL. Several failures add up.
 *
 * Returns NULL, or what is wrong with the words, valid until the next function that returns an
 * error.
 */
const char *kvnsim_sdk_fail(const char *words);

/*
 * Each SDK call fails with this probability, 0 to 1, with SDK_E_INTERNAL. The same seed fails the
 * same calls of the same sequence.
 *
 * Returns NULL, or that rate is not 0 to 1.
 */
const char *kvnsim_sdk_fail_rate(double rate, uint64_t seed);

/* No call fails on demand any more. The counts stay. */
void kvnsim_sdk_fail_clear(void);

/* How many failures were injected since the start or the last reset: into this call, by its name,
 * or for NULL into any. */
uint64_t kvnsim_sdk_injected(const char *call);

/* A call that was made to fail, and how often. The walk goes by the call's name, a constant text.
 */
struct kvnsim_sdk_injection {
    const char *call;
    uint64_t count;
};
int32_t kvnsim_sdk_next_injection(struct kvnsim_sdk_injection *injection, size_t size);

/* ---- What the ASIC holds ---- */

/* An interface; what its parameters mean depends on the type (struct sdk_intf_create_params). */
struct kvnsim_sdk_intf {
    uint32_t intf_id;
    uint32_t type; /* enum kvnsim_sdk_intf_type */
    uint32_t param1, param2, param3, param4, param5;
};
int32_t kvnsim_sdk_next_intf(struct kvnsim_sdk_intf *intf, size_t size);

/* An attribute that was written. With intf_id set and number 0 the walk begins at that interface.
 */
struct kvnsim_sdk_attribute {
    uint32_t intf_id;
    uint32_t number; /* enum sdk_intf_attr */
    uint32_t value;
    const char *name; /* "SdkIntfAttrMtuIdx", a constant text */
};
int32_t kvnsim_sdk_next_attribute(struct kvnsim_sdk_attribute *attribute, size_t size);

struct kvnsim_sdk_lid {
    uint32_t lid_id;
    uint32_t ifmap_idx; /* the answer of switch-configuration item 38 */
};
int32_t kvnsim_sdk_next_lid(struct kvnsim_sdk_lid *lid, size_t size);

/* A path of a LID entry. With lid_id set and number 0 the walk begins at that entry. */
struct kvnsim_sdk_lid_path {
    uint32_t lid_id;
    uint32_t number;    /* 1, 2, ... in the order added */
    uint32_t port_type; /* KVNSIM_SDK_PORT_TYPE_FRONT_PANEL or SdkPortTypeChannel */
    uint32_t front_port, pc_id;
};
int32_t kvnsim_sdk_next_lid_path(struct kvnsim_sdk_lid_path *path, size_t size);

struct kvnsim_sdk_port_channel {
    uint32_t pc_id;
};
int32_t kvnsim_sdk_next_port_channel(struct kvnsim_sdk_port_channel *port_channel, size_t size);

/* A member port. With pc_id set and front_port 0 the walk begins at that port-channel. */
struct kvnsim_sdk_member {
    uint32_t pc_id;
    uint32_t front_port; /* 1 to 255 */
};
int32_t kvnsim_sdk_next_member(struct kvnsim_sdk_member *member, size_t size);

struct kvnsim_sdk_router_mac {
    uint32_t peer_mac_id;
    uint8_t mac[6]; /* in transmission order */
};
int32_t kvnsim_sdk_next_router_mac(struct kvnsim_sdk_router_mac *router_mac, size_t size);

struct kvnsim_sdk_trap {
    uint32_t mac_trap_id;
    uint32_t intf_id;
    uint8_t mac[6]; /* in transmission order */
};
int32_t kvnsim_sdk_next_trap(struct kvnsim_sdk_trap *trap, size_t size);

/* An attribute write that waits for the flush. */
struct kvnsim_sdk_pending_write {
    uint32_t position; /* 1, 2, ... in the order queued */
    uint32_t intf_id, number, value;
    const char *name; /* of the attribute, a constant text */
};
int32_t kvnsim_sdk_next_pending_write(struct kvnsim_sdk_pending_write *write, size_t size);

/* Kinds of objects, and what identifies one. */
enum kvnsim_sdk_kind {
    KVNSIM_SDK_INTF = 1,          /* intf_id */
    KVNSIM_SDK_LID = 2,           /* lid_id */
    KVNSIM_SDK_PORT_CHANNEL = 3,  /* pc_id */
    KVNSIM_SDK_ROUTER_MAC = 4,    /* peer_mac_id */
    KVNSIM_SDK_TRAP = 5,          /* mac_trap_id */
    KVNSIM_SDK_PENDING_WRITE = 6, /* position; holds every interface */
    KVNSIM_SDK_MEMBER_PORT = 7    /* front port; holds its port-channel */
};

/* "interface", "port-channel"; "unknown kind" for any other number. A constant text. */
const char *kvnsim_sdk_kind_name(uint32_t kind);

/* What keeps an object from being destroyed: the walk over all that holds this one. */
struct kvnsim_sdk_holder {
    uint32_t kind; /* enum kvnsim_sdk_kind */
    uint32_t id;
};
int32_t kvnsim_sdk_next_holder(uint32_t kind, uint32_t id, struct kvnsim_sdk_holder *holder,
                               size_t size);

/*
 * How much the ASIC holds: interfaces, LID entries, port-channels, router MACs, MAC traps and
 * pending writes. For a test's end: 0 says that nothing stayed.
 *
 * out  gets a line for each, "interface 3: VLAN 10, held by MAC trap 1"; or NULL
 */
uint32_t kvnsim_sdk_leftovers(FILE *out);

/* ---- Calls ---- */

/* The SDK calls made since the start or the last reset. */
uint64_t kvnsim_sdk_calls_made(void);

/* Write a line about each SDK call, as kvnsim's timelines do; NULL ends it. out stays open and the
 * caller's. Returns 0, or -1: no memory, and no timeline. */
int32_t kvnsim_sdk_timeline(FILE *out);

/* An SDK call that was made. The record and its texts are the model's, valid until the report
 * returns. */
struct kvnsim_sdk_call {
    const char *call;      /* "libsdk_intf_create", a constant text */
    const char *arguments; /* "dev_inst=0 intf_type=3 params={param1=10}" */
    const char *outputs;   /* "intf_id=2"; empty when it failed */
    int32_t status;
    int32_t injected;   /* 1 when it was made to fail */
    const char *reason; /* why it was refused; empty when it was not */
    const char *line;   /* all of it, as a timeline shows it */
};

/* Have each SDK call reported as it returns, with the pointer user; a NULL report ends it. report
 * must not call the SDK, throw or jump away. Returns 0, or -1: no memory, and no reports. */
int32_t kvnsim_sdk_watch(void (*report)(const struct kvnsim_sdk_call *call, void *user),
                         void *user);

#ifdef __cplusplus
}
#endif

#endif
