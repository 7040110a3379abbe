#pragma once
// The data-access object model: Connection, Recordset, Fields, Field, Errors,
// Catalog and their enumerations.
#include "velmora/ado/catalog.hpp"
#include "velmora/ado/connection.hpp"
#include "velmora/ado/errors.hpp"
#include "velmora/ado/recordset.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/error.hpp"
