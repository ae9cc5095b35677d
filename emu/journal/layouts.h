// The layouts of all records that cross to the driver.
#ifndef EMU_JOURNAL_LAYOUTS_H
#define EMU_JOURNAL_LAYOUTS_H

#include "emu/journal/fields.h"

namespace orxemu::journal {

// Of a request's record, as it is sent.
const Layout &RequestLayout(qir::OrxRequest number);

// Of one of the three kinds of table.
const Layout &TableLayout(IndexKind kind);

// "numFlows" and "hits", 36 bytes: what the driver answers to a request for hit counters.
extern const Layout kHitsLayout;
extern const Layout kRlCfgLayout;
extern const Layout kFwdInfoLayout;
// Of a flow whose forwarding information has not been set as a whole.
extern const Layout kNotSetFwdInfoLayout;
// The FCB without its requests, its forwarding information as if it had been set.
extern const Layout kFcbLayout;

} // namespace orxemu::journal

#endif
