#pragma once
// Enumerations of the data-access object model, with their published values,
// and the error numbers the objects raise.
#include <cstdint>

namespace velmora::ado {

// DataTypeEnum: the type of a Field.
inline constexpr int32_t adEmpty = 0;
inline constexpr int32_t adSmallInt = 2;
inline constexpr int32_t adInteger = 3;
inline constexpr int32_t adSingle = 4;
inline constexpr int32_t adDouble = 5;
inline constexpr int32_t adCurrency = 6;
inline constexpr int32_t adDate = 7;
inline constexpr int32_t adBSTR = 8;
inline constexpr int32_t adIDispatch = 9;
inline constexpr int32_t adError = 10;
inline constexpr int32_t adBoolean = 11;
inline constexpr int32_t adVariant = 12;
inline constexpr int32_t adIUnknown = 13;
inline constexpr int32_t adDecimal = 14;
inline constexpr int32_t adTinyInt = 16;
inline constexpr int32_t adUnsignedTinyInt = 17;
inline constexpr int32_t adUnsignedSmallInt = 18;
inline constexpr int32_t adUnsignedInt = 19;
inline constexpr int32_t adBigInt = 20;
inline constexpr int32_t adUnsignedBigInt = 21;
inline constexpr int32_t adFileTime = 64;
inline constexpr int32_t adGUID = 72;
inline constexpr int32_t adBinary = 128;
inline constexpr int32_t adChar = 129;
inline constexpr int32_t adWChar = 130;
inline constexpr int32_t adNumeric = 131;
inline constexpr int32_t adUserDefined = 132;
inline constexpr int32_t adDBDate = 133;
inline constexpr int32_t adDBTime = 134;
inline constexpr int32_t adDBTimeStamp = 135;
inline constexpr int32_t adChapter = 136;
inline constexpr int32_t adPropVariant = 138;
inline constexpr int32_t adVarNumeric = 139;
inline constexpr int32_t adVarChar = 200;
inline constexpr int32_t adLongVarChar = 201;
inline constexpr int32_t adVarWChar = 202;
inline constexpr int32_t adLongVarWChar = 203;
inline constexpr int32_t adVarBinary = 204;
inline constexpr int32_t adLongVarBinary = 205;
inline constexpr int32_t adArray = 0x2000;

// FieldAttributeEnum.
inline constexpr int32_t adFldUnspecified = -1;
inline constexpr int32_t adFldMayDefer = 0x2;
inline constexpr int32_t adFldUpdatable = 0x4;
inline constexpr int32_t adFldUnknownUpdatable = 0x8;
inline constexpr int32_t adFldFixed = 0x10;
inline constexpr int32_t adFldIsNullable = 0x20;
inline constexpr int32_t adFldMayBeNull = 0x40;
inline constexpr int32_t adFldLong = 0x80;
inline constexpr int32_t adFldRowID = 0x100;
inline constexpr int32_t adFldRowVersion = 0x200;
inline constexpr int32_t adFldCacheDeferred = 0x1000;
inline constexpr int32_t adFldIsChapter = 0x2000;
inline constexpr int32_t adFldNegativeScale = 0x4000;
inline constexpr int32_t adFldKeyColumn = 0x8000;
inline constexpr int32_t adFldIsRowURL = 0x10000;
inline constexpr int32_t adFldIsDefaultStream = 0x20000;
inline constexpr int32_t adFldIsCollection = 0x40000;

// CursorTypeEnum.
inline constexpr int32_t adOpenUnspecified = -1;
inline constexpr int32_t adOpenForwardOnly = 0;
inline constexpr int32_t adOpenKeyset = 1;
inline constexpr int32_t adOpenDynamic = 2;
inline constexpr int32_t adOpenStatic = 3;

// LockTypeEnum.
inline constexpr int32_t adLockUnspecified = -1;
inline constexpr int32_t adLockReadOnly = 1;
inline constexpr int32_t adLockPessimistic = 2;
inline constexpr int32_t adLockOptimistic = 3;
inline constexpr int32_t adLockBatchOptimistic = 4;

// CommandTypeEnum (and the ExecuteOptionEnum bits that share Options).
inline constexpr int32_t adCmdUnspecified = -1;
inline constexpr int32_t adCmdText = 1;
inline constexpr int32_t adCmdTable = 2;
inline constexpr int32_t adCmdStoredProc = 4;
inline constexpr int32_t adCmdUnknown = 8;
inline constexpr int32_t adCmdFile = 256;
inline constexpr int32_t adCmdTableDirect = 512;

// ExecuteOptionEnum.
inline constexpr int32_t adOptionUnspecified = -1;
inline constexpr int32_t adAsyncExecute = 0x10;
inline constexpr int32_t adAsyncFetch = 0x20;
inline constexpr int32_t adAsyncFetchNonBlocking = 0x40;
inline constexpr int32_t adExecuteNoRecords = 0x80;
inline constexpr int32_t adExecuteStream = 0x400;
inline constexpr int32_t adExecuteRecord = 0x800;

// ObjectStateEnum.
inline constexpr int32_t adStateClosed = 0;
inline constexpr int32_t adStateOpen = 1;
inline constexpr int32_t adStateConnecting = 2;
inline constexpr int32_t adStateExecuting = 4;
inline constexpr int32_t adStateFetching = 8;

// SchemaEnum (the rowsets this object model produces, and their neighbours).
inline constexpr int32_t adSchemaProviderSpecific = -1;
inline constexpr int32_t adSchemaCatalogs = 1;
inline constexpr int32_t adSchemaColumns = 4;
inline constexpr int32_t adSchemaIndexes = 12;
inline constexpr int32_t adSchemaProcedures = 16;
inline constexpr int32_t adSchemaSchemata = 17;
inline constexpr int32_t adSchemaTables = 20;
inline constexpr int32_t adSchemaProviderTypes = 22;
inline constexpr int32_t adSchemaViews = 23;
inline constexpr int32_t adSchemaForeignKeys = 27;
inline constexpr int32_t adSchemaPrimaryKeys = 28;

// EditModeEnum.
inline constexpr int32_t adEditNone = 0;
inline constexpr int32_t adEditInProgress = 1;
inline constexpr int32_t adEditAdd = 2;
inline constexpr int32_t adEditDelete = 4;

// ConnectPromptEnum.
inline constexpr int32_t adPromptAlways = 1;
inline constexpr int32_t adPromptComplete = 2;
inline constexpr int32_t adPromptCompleteRequired = 3;
inline constexpr int32_t adPromptNever = 4;

// ConnectOptionEnum.
inline constexpr int32_t adConnectUnspecified = -1;
inline constexpr int32_t adAsyncConnect = 0x10;

// CursorLocationEnum.
inline constexpr int32_t adUseServer = 2;
inline constexpr int32_t adUseClient = 3;

// ConnectModeEnum.
inline constexpr int32_t adModeUnknown = 0;
inline constexpr int32_t adModeRead = 1;
inline constexpr int32_t adModeWrite = 2;
inline constexpr int32_t adModeReadWrite = 3;

// PersistFormatEnum.
inline constexpr int32_t adPersistADTG = 0;
inline constexpr int32_t adPersistXML = 1;

// StreamTypeEnum, StreamReadEnum, StreamOpenOptionsEnum, LineSeparatorEnum.
inline constexpr int32_t adTypeBinary = 1;
inline constexpr int32_t adTypeText = 2;
inline constexpr int32_t adReadAll = -1;
inline constexpr int32_t adReadLine = -2;
inline constexpr int32_t adOpenStreamUnspecified = -1;
inline constexpr int32_t adCRLF = -1;
inline constexpr int32_t adLF = 10;
inline constexpr int32_t adCR = 13;

// PositionEnum (AbsolutePosition when there is no current record).
inline constexpr int32_t adPosUnknown = -1;
inline constexpr int32_t adPosBOF = -2;
inline constexpr int32_t adPosEOF = -3;

// XactAttributeEnum / IsolationLevelEnum defaults.
inline constexpr int32_t adXactReadCommitted = 4096;

// Error numbers raised by the objects themselves (ErrorValueEnum).
inline constexpr int32_t adErrInvalidArgument = 3001;
inline constexpr int32_t adErrOpeningFile = 3002;
inline constexpr int32_t adErrNoCurrentRecord = 3021;
inline constexpr int32_t adErrIllegalOperation = 3219;
inline constexpr int32_t adErrFeatureNotAvailable = 3251;
inline constexpr int32_t adErrItemNotFound = 3265;
inline constexpr int32_t adErrObjectInCollection = 3367;
inline constexpr int32_t adErrObjectNotSet = 3420;
inline constexpr int32_t adErrDataConversion = 3421;
inline constexpr int32_t adErrObjectClosed = 3704;
inline constexpr int32_t adErrObjectOpen = 3705;
inline constexpr int32_t adErrProviderNotFound = 3706;
inline constexpr int32_t adErrInvalidConnection = 3709;
inline constexpr int32_t adErrNotReentrant = 3710;
inline constexpr int32_t adErrCantChangeProvider = 3220;

// Provider (OLE DB) result codes used as error numbers, by SQLSTATE class
// (the table is in docs/data-access.md).
inline constexpr int32_t E_FAIL_ = -2147467259;                      // 0x80004005
inline constexpr int32_t DB_E_ERRORSINCOMMAND = -2147217900;         // 0x80040E14
inline constexpr int32_t DB_E_NOTABLE = -2147217865;                 // 0x80040E37
inline constexpr int32_t DB_E_INTEGRITYVIOLATION = -2147217873;      // 0x80040E2F
inline constexpr int32_t DB_E_CANTCONVERTVALUE = -2147217913;        // 0x80040E07
inline constexpr int32_t DB_SEC_E_AUTH_FAILED = -2147217843;         // 0x80040E4D
inline constexpr int32_t DB_E_ABORTLIMITREACHED = -2147217871;       // 0x80040E31
inline constexpr int32_t DB_E_CANCELED = -2147217842;                // 0x80040E4E
inline constexpr int32_t DB_E_NOTSUPPORTED = -2147217837;            // 0x80040E53
inline constexpr int32_t DB_E_BADINITSTRING = -2147217805;           // 0x80040E73
inline constexpr int32_t DB_E_CANTFETCHBACKWARDS = -2147217884;      // 0x80040E24
inline constexpr int32_t DB_E_CONCURRENCYVIOLATION = -2147217864;    // 0x80040E38

}  // namespace velmora::ado
