// The record of the current command's outcome, which the rooms write as they learn it.
#pragma once

#include <glib.h>
#include <qarncli/outcome.h>

#include <cstdint>

namespace qarn {

struct OutcomeRecord {
    qarn_outcome outcome;
    bool is_printed, lacks_memory;
    GArray *services, *loop; // null while empty
};

// Begin the record of a new command.
void begin_outcome();
// The record is taken while another command may run, and put back.
OutcomeRecord take_outcome();
void put_outcome_back(const OutcomeRecord &taken);

// Why the command ends early. The first reason stays.
void note_refusal(uint32_t refusal, uint32_t status = 0);
// The command has come to the end of what it prints.
void note_printed();
// The command returns; settles the verdict.
void conclude_outcome();
// The public record, as far as it is known.
const qarn_outcome *last_outcome();

void note_consumers_left_out(uint32_t count);
void note_interfaces_left_out(uint32_t count);

// A service is asked; until more is known it is silent.
void note_asked(uint32_t sap);
// A function of the service is invoked; until its reply comes it has answered nothing.
void note_invoked(uint32_t sap);
// The services could not be asked.
void note_nobody_asked();
// The wait for replies has failed; if each service has answered, there was none to wait for.
void note_missing();
// What became of a service. A fault stays, whatever the service does later; an in-process function's silence does not.
// For a service that answered, `received` is the number of its texts whose elements the store had before.
void note_service(const qarn_outcome_service &service);
inline void note_service(uint32_t sap, uint32_t state, uint32_t status = 0) {
    note_service({sap, state, status, 0, 0});
}

// The refusal by a loop in a pass, and the elements of the loop, one by one.
void note_loop(uint32_t pass);
void note_loop_element(uint16_t uuid, uint16_t elem_id);

} // namespace qarn
