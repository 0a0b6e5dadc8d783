// All public headers of the library.
//
// Every function may be called by several threads at the same time. Values, lists, objects and texts
// share storage between copies, so each thread may use, change and destroy its own copy. One object
// may be read by several threads, but not while another thread changes it.
//
// A builder that returns `auto` makes a StaticObject, which converts to an Object or a Value. Its type
// parameter `Source` is the type of a record, and `Passed` the type of an argument that the answer only
// contains: a Value, or a foreign object.
#pragma once

// IWYU pragma: begin_exports
#include "ask_citations.h"
#include "ask_response.h"
#include "check_interrupt.h"
#include "code_lines.h"
#include "cuts.h"
#include "empty_responses.h"
#include "encode.h"
#include "errors.h"
#include "index_status.h"
#include "outline_rows.h"
#include "pagination.h"
#include "records.h"
#include "reference_rows.h"
#include "row_pruning.h"
#include "static_object.h"
#include "symbol_rows.h"
#include "text.h"
#include "value.h"
#include "wiki_pages.h"
#include "work_tree.h"
// IWYU pragma: end_exports
