/* A configuration element: one service's configuration of one subject, keyed by (service UUID, element id). */
#ifndef QARNCLI_ELEMENT_H
#define QARNCLI_ELEMENT_H

#include <qarncli/abi.h>

QARN_BEGIN_DECLS

/* Bits of qarn_elem.property. */
enum {
    QARN_PROP_VSAN = 0x01,        /* belongs to the VSAN view */
    QARN_PROP_VLAN = 0x02,        /* belongs to the VLAN view */
    QARN_PROP_INTF = 0x04,        /* carries text per interface: printed inside interface blocks */
    QARN_PROP_CONDITIONAL = 0x08, /* takes part only while one of its conditional dependencies has text */
    QARN_PROP_DUMMY = 0x10,       /* placeholder for an element not yet received: ordered, never printed */
    QARN_PROP_BFD = 0x20,         /* belongs to the BFD view */
    QARN_PROP_L2MP = 0x40,        /* belongs to the L2MP view, excluded from the view without L2MP */
    QARN_PROP_FEX = 0x80          /* belongs to the FEX view, excluded from the view without FEX */
};

/* Kinds of the values in qarn_elem.ifindex_table. */
enum { QARN_VAL_TEXT = 0, QARN_VAL_COMMAND = 1 };

/* Kinds of dependency. */
enum {
    QARN_DEP_ORDER = 0,      /* the other element prints first */
    QARN_DEP_CONDITIONAL = 1 /* satisfied when the other element exists and has text of its own */
};

/* UUIDs that the library treats specially. It compares the low 16 bits, which keys hold, for the first two, and the
 * element's whole UUID word for the others. */
enum {
    QARN_UUID_CONVERSION = 222, /* display conversion; element 1 holds the specification */
    QARN_UUID_INTERFACE = 223,  /* interface blocks; the element id names the sublist */
    QARN_UUID_KEYS_ONCE = 40,   /* keys of a repeated element are not merged */
    QARN_UUID_VLAN = 383        /* the VLAN service */
};

/* A dependency of an element; made by qarn_elem_dependency_create, newest first in qarn_elem.dep_list. */
struct qarn_elem_dependency {
    uint32_t uuid, elem_id;
    uint32_t dep_type;
    struct qarn_elem_dependency *next;
};
QARN_AT32(struct qarn_elem_dependency, next, 12);
QARN_SIZE32(struct qarn_elem_dependency, 16);

/* Made by qarn_elem_info_create. Belongs to the generation: abandoned by the next one, never freed. */
struct qarn_elem {
    uint32_t uuid, elem_id; /* keys hold the low 16 bits of each */
    uint32_t val_type;      /* QARN_VAL_TEXT or QARN_VAL_COMMAND; with any other value, no interface text is kept */
    uint32_t level;         /* print level; 0..12 are printed */
    uint32_t property;
    GString *cfg_str;          /* the element's own text */
    GHashTable *ifindex_table; /* u32 interface index -> GString, or the message in a copied block */
    GHashTable *key_table;     /* key name -> qarn_key_val */
    GHashTable *keystr_table;  /* key-string name -> GString */
    void *dbg_cmd_buf;         /* debug display only */
    struct qarn_elem_dependency *dep_list;
};
QARN_AT32(struct qarn_elem, cfg_str, 20);
QARN_AT32(struct qarn_elem, ifindex_table, 24);
QARN_AT32(struct qarn_elem, dep_list, 40);
QARN_SIZE32(struct qarn_elem, 44);

/* A key of an element. */
struct qarn_key_val {
    uint32_t ifindex; /* an interface index; the VLAN id in the VLAN service's tables */
    GString *val_str; /* the key map: header to print, or empty when the key's name is the header */
};
QARN_AT32(struct qarn_key_val, val_str, 4);
QARN_SIZE32(struct qarn_key_val, 8);

/* A command message, as the command shell's framework serializes it: offsets of the words that the library uses. */
enum {
    QARN_CMD_LENGTH_AT = 4,       /* bytes of the message, header included */
    QARN_CMD_TYPE_AT = 8,         /* 2 in messages that the library builds */
    QARN_CMD_DEBUG_FLAGS_AT = 44, /* for cmd_debug_flags */
    QARN_CMD_STAMP_AT = 60,
    QARN_CMD_HEADER_SIZE = 64,
    QARN_CMD_PREFIX_SIZE = 40, /* the render handle in front of a message */
    QARN_CMD_STAMP = 0x1abcd,
    QARN_ATTR_INTERFACE_NAME = 0x30030003
};
#define QARN_CMD_STAMP_SWAPPED 0xcdab0100u /* the stamp, written in the other byte order */

QARN_END_DECLS

#endif
