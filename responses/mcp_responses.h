// All public headers of the library.
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
#include "handle.h"
#include "index_status.h"
#include "line_finder.h"
#include "outline_rows.h"
#include "pagination.h"
#include "records.h"
#include "reference_rows.h"
#include "resolved_path.h"
#include "row_pruning.h"
#include "static_object.h"
#include "symbol_rows.h"
#include "text.h"
#include "value.h"
#include "wiki_pages.h"
#include "work_tree.h"
// IWYU pragma: end_exports
