// The query language of du::Dbase: from a program to its result.
#ifndef LMKUTILS_DATA_INTERNAL_QUERY_EVALUATOR_H
#define LMKUTILS_DATA_INTERNAL_QUERY_EVALUATOR_H

#include "lmkutils/data/internal/attribute_list.h"
#include "lmkutils/data/internal/id_lists.h"
#include "lmkutils/data/internal/query_parser.h"

namespace du::internal {

// The records that the program selects, ascending. Every pattern is compiled, also where no record has the
// attribute. Throws std::runtime_error as Regex does, std::logic_error "unrecognised query node" on a node of
// no known kind, std::bad_alloc.
IdList EvaluateQuery(const QueryProgram& program, const AttributeList& attributes);

}  // namespace du::internal

#endif
