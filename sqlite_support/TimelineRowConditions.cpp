#include "TimelineRowConditions.h"

namespace VarnholtSQLiteSupport {

const char* const kUsableDescription = "o.vlm_description IS NOT NULL AND length(trim(o.vlm_description)) > 0";
const char* const kNoSeparateRecording = "(o.recording_id IS NULL OR o.recording_id = '')";

}  // namespace VarnholtSQLiteSupport
