#pragma once
// The COM-like runtime: Variant, dates, currency, conversions, Collection,
// Error, Object and PropertyBag.
#include "velmora/com/collection.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/datetime.hpp"
#include "velmora/com/error.hpp"
#include "velmora/com/object.hpp"
#include "velmora/com/property_bag.hpp"
#include "velmora/com/variant.hpp"
