/* libqarncli prints a switch's running and startup configuration. This header includes every other.
 *
 * A command shell calls the functions of entry.h; request.h describes what it hands over. The other functions are the
 * parts of a generation, exported for the shell's own debugging and for other programs of the platform.
 *
 * Errors:
 *   A function that can fail returns a status of the platform's error space (status.h), 0 for success. A function that
 *   makes a record returns null if memory runs out. By then, the function has printed what the user must see. No
 *   function throws.
 * Texts:
 *   NUL-terminated, unless a field's comment says otherwise. Integers are in host byte order.
 * Ownership:
 *   The caller keeps what it hands in. What a function hands out belongs to the library unless its comment names who
 *   frees it; the data of a generation stays valid until the next generation begins.
 * Null:
 *   No argument may be null unless its comment allows it.
 * Threads and signals:
 *   One command at a time in a process. A command installs handlers for SIGINT, SIGHUP and SIGPIPE (interruption.h) and
 *   leaves them installed.
 * Globals:
 *   globals.h lists them, with the lifetime of each value. Some are only ever set while the library is loaded, so a
 *   shell runs each command in a process of its own.
 */
#ifndef QARNCLI_QARNCLI_H
#define QARNCLI_QARNCLI_H

#include <qarncli/abi.h>
#include <qarncli/callback_table.h>
#include <qarncli/callbacks.h>
#include <qarncli/display.h>
#include <qarncli/element.h>
#include <qarncli/element_print.h>
#include <qarncli/element_store.h>
#include <qarncli/entry.h>
#include <qarncli/exchange.h>
#include <qarncli/globals.h>
#include <qarncli/graph.h>
#include <qarncli/id_filter.h>
#include <qarncli/id_mask.h>
#include <qarncli/id_range.h>
#include <qarncli/if_index_list.h>
#include <qarncli/ifindex.h>
#include <qarncli/interruption.h>
#include <qarncli/intf_print.h>
#include <qarncli/key_table.h>
#include <qarncli/managers.h>
#include <qarncli/message.h>
#include <qarncli/ordering.h>
#include <qarncli/outcome.h>
#include <qarncli/profile.h>
#include <qarncli/queue.h>
#include <qarncli/reply_table.h>
#include <qarncli/request.h>
#include <qarncli/service_list.h>
#include <qarncli/startup.h>
#include <qarncli/status.h>
#include <qarncli/tlv_decode.h>
#include <qarncli/vlan_key_table.h>

#endif
