#pragma once
// Everything the library offers, in one header.
#include "velmora/ado.hpp"
#include "velmora/ado/catalog.hpp"
#include "velmora/ado/connection.hpp"
#include "velmora/ado/errors.hpp"
#include "velmora/ado/recordset.hpp"
#include "velmora/ado/stream.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/collections/ado_array.hpp"
#include "velmora/collections/ado_record.hpp"
#include "velmora/collections/key_set.hpp"
#include "velmora/com.hpp"
#include "velmora/com/collection.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/datetime.hpp"
#include "velmora/com/error.hpp"
#include "velmora/com/object.hpp"
#include "velmora/com/property_bag.hpp"
#include "velmora/com/variant.hpp"
#include "velmora/facade/ado_flags_enum.hpp"
#include "velmora/facade/ado_macros.hpp"
#include "velmora/facade/class_registration.hpp"
#include "velmora/fields/connection_utils.hpp"
#include "velmora/fields/field_access.hpp"
#include "velmora/fields/sql_text.hpp"
#include "velmora/fields/type_names.hpp"
#include "velmora/flags/ado_flags.hpp"
#include "velmora/flags/connection_options.hpp"
#include "velmora/schema/descriptors.hpp"
#include "velmora/schema/schema_info.hpp"
#include "velmora/schema/maintenance.hpp"
#include "velmora/support/default_connection.hpp"
#include "velmora/support/error_services.hpp"
#include "velmora/support/field_services.hpp"
#include "velmora/support/file_errors.hpp"
#include "velmora/support/file_services.hpp"
#include "velmora/support/keyid_services.hpp"
#include "velmora/support/profile_services.hpp"
#include "velmora/support/reraise.hpp"
#include "velmora/support/support_object.hpp"
#include "velmora/support/system_services.hpp"
#include "velmora/sysrecords/ado_sys_lock.hpp"
#include "velmora/sysrecords/ado_unk.hpp"
#include "velmora/sysrecords/record_header.hpp"
#include "velmora/sysrecords/system_records.hpp"
#include "velmora/sysrecords/system_tables.hpp"
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
