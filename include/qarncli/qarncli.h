/* libqarncli: the text of a switch's running and startup configuration. Includes every installed header. */
#ifndef QARNCLI_QARNCLI_H
#define QARNCLI_QARNCLI_H

#include <qarncli/abi.h>
#include <qarncli/callbacks.h>
#include <qarncli/display.h>
#include <qarncli/element.h>
#include <qarncli/element_print.h>
#include <qarncli/element_store.h>
#include <qarncli/entry.h>
#include <qarncli/globals.h>
#include <qarncli/graph.h>
#include <qarncli/id_range.h>
#include <qarncli/ifindex.h>
#include <qarncli/interruption.h>
#include <qarncli/intf_print.h>
#include <qarncli/key_table.h>
#include <qarncli/message.h>
#include <qarncli/ordering.h>
#include <qarncli/profile.h>
#include <qarncli/reply_table.h>
#include <qarncli/request.h>
#include <qarncli/service_list.h>
#include <qarncli/startup.h>
#include <qarncli/status.h>
#include <qarncli/tlv_decode.h>
#include <qarncli/vlan_key_table.h>

#endif
