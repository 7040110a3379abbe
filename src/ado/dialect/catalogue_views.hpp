#pragma once
// The server dialect's catalogue views systypes, sysobjects and syscolumns,
// answered on each engine from its own catalogue by a derived table that the
// engine evaluates with the statement's own joins, WHERE and ORDER BY.
// Nothing is created in the database (docs/catalogue-views.md).
#include <string>
#include <string_view>

#include "ado/dialect/edit.hpp"
#include "ado/dialect/engine.hpp"

namespace velmora::ado::dialect {

// The view's query in parentheses (no alias) for the engine; empty when
// `lowerName` is not one of the three views.
std::string CatalogueViewQuery(std::string_view lowerName, Engine engine);

// Replaces the views where a statement reads them (after FROM, JOIN or a
// comma of a FROM list; also dbo./sys. qualified and [bracketed]) by their
// queries, keeping the statement's alias, and OBJECT_ID(name[, type]) by a
// look-up in sysobjects.
void ReplaceCatalogueViews(Edit& edit, Engine engine);

}  // namespace velmora::ado::dialect
