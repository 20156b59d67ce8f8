// The configuration store's error codes and their message templates. A
// template's "%s" and "%d" placeholders take the details of one failure.
#ifndef SKARNCONFIGSTORE_CSERRORCODES_H
#define SKARNCONFIGSTORE_CSERRORCODES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Export.h"

namespace SkarnConfigStore {

enum class CSErrorCodes : uint32_t {
  DatabaseOpenFailed = 1001,
  DatabaseConnectFailed = 1002,
  DatabaseDisconnectFailed = 1003,
  DatabaseReadFailed = 1004,
  DatabaseWriteFailed = 1005,
  DatabaseUpdateFailed = 1006,
  DatabaseDeleteFailed = 1007,
  PrepareFailed = 1008,
  StepFailed = 1009,
  IntegrityCheckFailed = 1010,
  TransactionStartFailed = 1011,
  TransactionCommitFailed = 1012,
  TransactionRollbackFailed = 1013,
  TransactionCancelFailed = 1014,
  CreateTableFailed = 1015,
  CreateTriggerFailed = 1016,
  BindFailed = 1017,
  InvalidDatabaseType = 1018,

  InvalidType = 1030,
  InvalidKey = 1030,  // shares its code; the table keeps InvalidType's text
  KeyNotFound = 1031,
  InvalidValue = 1032,
  GetValueFailed = 1033,
  SetValueFailed = 1034,
  EncodeDecodeFailed = 1035,
  ObjectNotFound = 1036,
  SchemaNotFound = 1037,
  FilterSpecNotFound = 1038,
  SubObjectFilterNotFound = 1039,
  ObjectEmpty = 1040,
  FilterSpecEmpty = 1041,
  ObjectAlreadyExists = 1042,
  FilterSpecAlreadyExists = 1043,
  NonSingletonFilteringUnsupported = 1044,
  NotSingleton = 1045,
  NotNonSingleton = 1046,
  NonSingletonCallForSingleton = 1047,
  NonSingletonWithoutInstanceId = 1048,
  SingletonWithInstanceId = 1049,
  ExternalContextDuringBoot = 1050,
  SetOperationFailed = 1051,
  GetOperationFailed = 1052,
  UpdateOperationFailed = 1053,
  DeleteOperationFailed = 1054,
  ImportOperationFailed = 1055,
  ExportOperationFailed = 1056,
  UpgradeOperationFailed = 1057,
  SetDesiredOperationFailed = 1058,
  SetBootStatusOperationFailed = 1059,
  SetPartialBootStatusOperationFailed = 1060,

  JsonStringParseFailed = 1080,
  JsonFileParseFailed = 1081,
  InvalidJson = 1082,
  ValidationError = 1083,
  DefaultConfigValidationFailed = 1084,
  CachedConfigValidationFailed = 1084,  // shares its code; Default's text kept
  VitalConfigValidationFailed = 1086,
  UserConfigValidationFailed = 1087,
  PartialConfigValidationFailed = 1088,
  SetValidationFailed = 1089,
  UpdateValidationFailed = 1090,
  ApplyJsonFileValidationFailed = 1091,
  AutoConfigValidationFailed = 1092,

  InvalidArgument = 1100,
  MemoryReservationFailed = 1101,
  ForkExecFailed = 1102,
  ChildWaitFailed = 1103,
  ChildExitedWithError = 1104,
  InternalError = 1105,
};

struct CSErrorEntry {
  CSErrorCodes code;
  const char* message;
};

// Every code with its template, in the order of definition; two codes occur
// twice.
constexpr std::size_t kCSErrorTableSize = 69;
SKARNCONFIGSTORE_EXPORT extern const std::array<CSErrorEntry, kCSErrorTableSize>
    CSErrorTable;

// The table as a map, built once when the library is loaded; where a code
// occurs twice the first text is kept.
SKARNCONFIGSTORE_EXPORT extern const std::unordered_map<CSErrorCodes,
                                                        std::string>
    CSErrorMessages;

// The code's template with its placeholders ("%s", "%d") replaced in order
// by arguments; a placeholder without an argument becomes empty. A code
// outside the table gives "Unknown error code " and its number.
SKARNCONFIGSTORE_EXPORT std::string FormatCSErrorMessage(
    CSErrorCodes code, const std::vector<std::string>& arguments);

}  // namespace SkarnConfigStore

#endif
