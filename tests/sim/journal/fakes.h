#pragma once

#include "sim/journal/journal.h"

/* Calls to try the journal on: one whose statuses have names, one of each kind of result. */
extern const kvnsim::ImportedCall fake_named_call, fake_host_call, fake_question, fake_memory;

/* A call that answers its argument's double and has the given status. */
int32_t call_named(uint32_t asked, uint32_t *doubled, int32_t status = 0);
int32_t call_host(int32_t status = 0);
uint32_t call_question(uint32_t answer);
