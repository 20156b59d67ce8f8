#include <quarryauth/platform/skarnconfigstore/CSErrorCodes.h>

namespace SkarnConfigStore {

namespace {

using C = CSErrorCodes;

std::unordered_map<CSErrorCodes, std::string> BuildMessageMap() {
  std::unordered_map<CSErrorCodes, std::string> messages;
  // emplace keeps the first text of a code that occurs twice.
  for (const CSErrorEntry& entry : CSErrorTable) {
    messages.emplace(entry.code, entry.message);
  }
  return messages;
}

bool IsPlaceholderAt(const std::string& text, std::string::size_type i) {
  return text[i] == '%' && i + 1 < text.size() &&
         (text[i + 1] == 's' || text[i + 1] == 'd');
}

}  // namespace

// Constant-initialised, so it is complete before CSErrorMessages is built.
const std::array<CSErrorEntry, kCSErrorTableSize> CSErrorTable = {{
    {C::DatabaseOpenFailed, "Failed to open database %s"},
    {C::DatabaseConnectFailed, "Failed to connect to database %s"},
    {C::DatabaseDisconnectFailed, "Failed to disconnect from database %s"},
    {C::DatabaseReadFailed, "Failed to read"},
    {C::DatabaseWriteFailed, "Failed to write"},
    {C::DatabaseUpdateFailed, "Failed to update"},
    {C::DatabaseDeleteFailed, "Failed to delete from database"},
    {C::PrepareFailed, "Failed to execute prepare call"},
    {C::StepFailed, "Failed to execute step call"},
    {C::IntegrityCheckFailed, "Failed integrity check on the database"},
    {C::TransactionStartFailed, "Failed to start transaction"},
    {C::TransactionCommitFailed, "Failed to commit transaction"},
    {C::TransactionRollbackFailed, "Failed to rollback transaction"},
    {C::TransactionCancelFailed, "Failed to cancel transaction"},
    {C::CreateTableFailed, "Failed to create table"},
    {C::CreateTriggerFailed, "Failed to create trigger"},
    {C::BindFailed, "Failed to bind"},
    {C::InvalidDatabaseType, "Invalid database type"},
    {C::InvalidType, "Invalid type, %s"},
    {C::InvalidKey, "Invalid key %s"},
    {C::KeyNotFound, "Key not found"},
    {C::InvalidValue, "Invalid value for key %s"},
    {C::GetValueFailed, "Failed to get value for key %s"},
    {C::SetValueFailed, "Failed to set value for key %s"},
    {C::EncodeDecodeFailed, "Failed to encode/decode value for key %s"},
    {C::ObjectNotFound, "Configuration object not found: %s"},
    {C::SchemaNotFound, "Schema object not found: %s"},
    {C::FilterSpecNotFound, "FilterSpec object not found: %s"},
    {C::SubObjectFilterNotFound, "Failed to find subobject filter: %s"},
    {C::ObjectEmpty, "%s: Configuration object is empty"},
    {C::FilterSpecEmpty, "%s: FilterSpec object is empty"},
    {C::ObjectAlreadyExists, "Configuration object already exists: %s"},
    {C::FilterSpecAlreadyExists, "FilterSpec object already exists: %s"},
    {C::NonSingletonFilteringUnsupported,
     "Non-Singleton SubObject filtering is not supported"},
    {C::NotSingleton, "Not a Singleton object: %s"},
    {C::NotNonSingleton, "Not a Non-Singleton object: %s"},
    {C::NonSingletonCallForSingleton,
     "Non-Singleton API called for singleton object: %s"},
    {C::NonSingletonWithoutInstanceId,
     "Non-Singleton object should contain instanceId: %s"},
    {C::SingletonWithInstanceId,
     "Singleton object cannot contain instanceId: %s"},
    {C::ExternalContextDuringBoot,
     "API cannot be invoked with EXTERNAL context during boot"},
    {C::SetOperationFailed, "Set operation failed: %s"},
    {C::GetOperationFailed, "Get operation failed: %s"},
    {C::UpdateOperationFailed, "Update operation failed: %s"},
    {C::DeleteOperationFailed, "Delete operation failed: %s"},
    {C::ImportOperationFailed, "Import operation failed"},
    {C::ExportOperationFailed, "Export operation failed"},
    {C::UpgradeOperationFailed, "Upgrade operation failed"},
    {C::SetDesiredOperationFailed, "Set Desired operation failed"},
    {C::SetBootStatusOperationFailed, "Set Boot Status operation failed"},
    {C::SetPartialBootStatusOperationFailed,
     "Set Partial Boot Status operation failed"},
    {C::JsonStringParseFailed, "Failed to parse JSON String"},
    {C::JsonFileParseFailed, "Failed to parse JSON file %s"},
    {C::InvalidJson, "Invalid JSON"},
    {C::ValidationError, "Validation Error: '%s' %s"},
    {C::DefaultConfigValidationFailed, "Failed to validate Default config"},
    {C::CachedConfigValidationFailed, "Failed to validate Cached config"},
    {C::VitalConfigValidationFailed, "Failed to validate Vital config"},
    {C::UserConfigValidationFailed, "Failed to validate User config"},
    {C::PartialConfigValidationFailed, "Failed to validate Partial config"},
    {C::SetValidationFailed, "Failed to validate Set"},
    {C::UpdateValidationFailed, "Failed to validate Update"},
    {C::ApplyJsonFileValidationFailed, "Failed to validate Apply JSON file"},
    {C::AutoConfigValidationFailed, "Failed to validate Auto config"},
    {C::InvalidArgument, "Invalid Argument"},
    {C::MemoryReservationFailed, "Failed to reserve memory"},
    {C::ForkExecFailed, "Tessel_ForkExec failed, errno: %s"},
    {C::ChildWaitFailed, "Failed to wait for child process: %d, errno: %s"},
    {C::ChildExitedWithError, "Child process terminated with exit value: %d"},
    {C::InternalError, "ConfigStore internal error"},
}};

const std::unordered_map<CSErrorCodes, std::string> CSErrorMessages =
    BuildMessageMap();

std::string FormatCSErrorMessage(CSErrorCodes code,
                                 const std::vector<std::string>& arguments) {
  const auto found = CSErrorMessages.find(code);
  if (found == CSErrorMessages.end()) {
    return "Unknown error code " + std::to_string(static_cast<uint32_t>(code));
  }
  const std::string& text = found->second;
  std::string message;
  std::vector<std::string>::size_type next = 0;
  for (std::string::size_type i = 0; i < text.size(); ++i) {
    if (!IsPlaceholderAt(text, i)) {
      message += text[i];
      continue;
    }
    if (next < arguments.size()) message += arguments[next];
    ++next;
    ++i;
  }
  return message;
}

}  // namespace SkarnConfigStore
