#pragma once
// Everything the library offers, in one header.
#include "velmora/ado.hpp"
#include "velmora/ado/stream.hpp"
#include "velmora/collections/ado_array.hpp"
#include "velmora/collections/key_set.hpp"
#include "velmora/com.hpp"
#include "velmora/facade/ado_flags_enum.hpp"
#include "velmora/facade/ado_macros.hpp"
#include "velmora/facade/class_registration.hpp"
#include "velmora/fields/field_access.hpp"
#include "velmora/fields/sql_text.hpp"
#include "velmora/fields/type_names.hpp"
#include "velmora/flags/ado_flags.hpp"
#include "velmora/flags/connection_options.hpp"
#include "velmora/schema/descriptors.hpp"
#include "velmora/support/default_connection.hpp"
#include "velmora/support/reraise.hpp"
#include "velmora/support/support_object.hpp"
#include "velmora/sysrecords/record_header.hpp"
#include "velmora/version.hpp"

namespace velmora {

// The runtime's main types, also visible in namespace velmora.
using com::Collection;
using com::Currency;
using com::Date;
using com::Decimal;
using com::Error;
using com::Object;
using com::PropertyBag;
using com::Variant;

}  // namespace velmora
