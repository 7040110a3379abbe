#pragma once
// Maintenance of embedded database files: CompactMdb rewrites a database
// file without its free pages and puts the compacted copy in its place.
#include <string>

namespace velmora {

// Compacts the database file DbName in place through a temporary file and
// returns false. TmpFile, when empty, receives the temporary file chosen: a
// new "MDB*.tmp" in the system's temporary folder, or in DbName's own folder
// when the temporary one has less free space than the database takes. A
// TmpFile given by the caller is used as it is (it must not exist or be
// empty) and no space test is made.
//
// A failure is re-raised with the Source "Velmora.modAdoSupport.CompactMdb".
// Before the original is deleted a failure leaves DbName untouched: a
// missing file (53), a database some connection holds open, of this or
// another process (70), a file that is not a database or a Jet file, which
// needs the Jet engine (321). After the delete the compacted database is
// always either under DbName or under the name returned in TmpFile.
bool CompactMdb(const std::string& DbName, std::string& TmpFile);
bool CompactMdb(const std::string& DbName);

}  // namespace velmora
