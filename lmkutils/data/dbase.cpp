#include "lmkutils/data/dbase.h"

#include <algorithm>
#include <cassert>
#include <exception>
#include <stdexcept>

#include "lmkutils/data/internal/attribute_list.h"
#include "lmkutils/data/internal/query_evaluator.h"
#include "lmkutils/data/internal/query_parser.h"
#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/text/internal/lasting_symbol.h"
#include "lmkutils/trace/lm_tracer.h"

namespace du {
namespace {

using internal::AttributeColumn;

[[noreturn]] void ReportMalformedQuery(internal::QueryStep step, const std::string& query) {
  const dp::LMTracer tracer("Dbase", "");
  tracer(dp::TraceType::Error) << "Malformed query from line " << static_cast<int>(step) << " of Dbase";
  tracer(dp::TraceType::Debug) << "Stream Content: | " << query;
  throw std::runtime_error("Malformed query.");
}

void Append(Dbase::AttributeValueList& list, const Symbol& name, const AttributeColumn& column, unsigned id) {
  const AttributeColumn::Range found = column.Find(id);
  for (std::size_t i = found.first; i < found.last; ++i) list.push_back({name, column.Values()[i]});
}

// A few records are looked up one by one, many in one walk over the column.
void Append(Dbase::IdValueList& list, const Symbol& name, const AttributeColumn& column,
            const Dbase::IdList& ids) {
  constexpr std::size_t kLookUpCost = 32;  // in entries walked over
  const auto append = [&](std::size_t i) { list.push_back({column.Ids()[i], name, column.Values()[i]}); };
  if (ids.size() < column.Size() / kLookUpCost) {
    for (const unsigned id : ids) {
      const AttributeColumn::Range found = column.Find(id);
      for (std::size_t i = found.first; i < found.last; ++i) append(i);
    }
    return;
  }
  auto next = ids.begin();
  for (std::size_t i = 0; i < column.Size(); ++i) {
    while (next != ids.end() && *next < column.Ids()[i]) ++next;
    if (next == ids.end()) break;
    if (*next == column.Ids()[i]) append(i);
  }
}

}  // namespace

class Dbase::Impl : public CommonAllocated {
 public:
  Symbol GetDebugClassName() const override {
    static const internal::LastingSymbol name("Dbase::Impl");
    return name.Get();
  }

  internal::AttributeList& Attributes() noexcept { return attributes_; }

  IdList PerformQuery(const std::string& query) const {
    internal::QueryProgram program;
    if (const auto failure = internal::ParseQuery(query, program)) ReportMalformedQuery(failure->step, query);
    return internal::EvaluateQuery(program, attributes_);
  }

 private:
  internal::AttributeList attributes_;
};

Dbase::Dbase() : impl_(new Impl) {}

Dbase::~Dbase() {
  delete impl_;
}

void Dbase::AddAttribute(unsigned id, const Symbol& name, const Symbol& value) {
  impl_->Attributes().Add(id, name, value);
}

void Dbase::AddAttribute(unsigned id, const char* name, const char* value) {
  AddAttribute(id, Symbol(name), Symbol(value));
}

void Dbase::AddAttribute(const IdList& ids, const Symbol& name, const Symbol& value) {
  impl_->Attributes().Add(ids, name, value);
}

void Dbase::AddAttribute(const IdList& ids, const char* name, const char* value) {
  AddAttribute(ids, Symbol(name), Symbol(value));
}

void Dbase::ReplaceAttribute(unsigned id, const Symbol& name, const Symbol& value) {
  impl_->Attributes().Replace(id, name, value);
}

void Dbase::ReplaceAttribute(unsigned id, const char* name, const char* value) {
  ReplaceAttribute(id, Symbol(name), Symbol(value));
}

void Dbase::ReplaceAttribute(const IdList& ids, const char* name, const char* value) {
  impl_->Attributes().Replace(ids, Symbol(name), Symbol(value));
}

Dbase::AttributeValueList Dbase::GetAttributes(unsigned id) const {
  AttributeValueList list;
  for (const auto* const column : impl_->Attributes().Columns())
    Append(list, column->first, column->second, id);
  return list;
}

Dbase::AttributeValueList Dbase::GetAttributes(unsigned id, const Symbol& name) const {
  AttributeValueList list;
  if (const AttributeColumn* const column = impl_->Attributes().Find(name)) Append(list, name, *column, id);
  return list;
}

Dbase::AttributeValueList Dbase::GetAttributes(unsigned id, const char* name) const {
  return GetAttributes(id, Symbol(name));
}

Dbase::IdValueList Dbase::GetAttributes(const IdList& ids) const {
  const IdList ascending = internal::Ascending(ids);
  IdValueList list;
  for (const auto* const column : impl_->Attributes().Columns()) {
    Append(list, column->first, column->second, ascending);
  }
  return list;
}

void Dbase::RemoveAttributes() noexcept {
  impl_->Attributes().RemoveAll();
}

void Dbase::RemoveAttributes(unsigned id) {
  impl_->Attributes().Remove(id);
}

void Dbase::RemoveAttributes(unsigned id, const Symbol& name) {
  impl_->Attributes().Remove(id, name);
}

void Dbase::RemoveAttributes(const Symbol& name) {
  impl_->Attributes().RemoveName(name);
}

void Dbase::RemoveAttributes(const char* name) {
  RemoveAttributes(Symbol(name));
}

void Dbase::RemoveAttributes(const IdList& ids) {
  impl_->Attributes().Remove(ids);
}

void Dbase::RemoveAttributes(const IdList& ids, const Symbol& name) {
  impl_->Attributes().Remove(ids, name);
}

void Dbase::RemoveAttributes(const IdList& ids, const char* name) {
  RemoveAttributes(ids, Symbol(name));
}

void Dbase::ForceResort() {
  impl_->Attributes().Sort();
  assert(IsInSaneState());
}

void Dbase::ShrinkToFit() {
  impl_->Attributes().ShrinkToFit();
}

Dbase::IdList Dbase::PerformQuery(const std::string& query) const {
  try {
    return impl_->PerformQuery(query);
  } catch (const std::exception& problem) {
    throw std::runtime_error("While Performing query \"" + query +
                             "\", encountered a problem: " + problem.what());
  }
}

Dbase::IdList Dbase::PerformQuery(const Symbol& query) const {
  return PerformQuery(std::string(query));
}

Dbase::IdList Dbase::PerformQuery(const char* query) const {
  return PerformQuery(std::string(query != nullptr ? query : ""));
}

bool Dbase::IsInSaneState() const {
  return impl_->Attributes().IsConsistent();
}

}  // namespace du
