/// For targets with windows.
#pragma once

namespace fuzz {

/// Makes the QApplication of this process, on the offscreen platform. Once, from LLVMFuzzerInitialize.
void startApplication();

}  // namespace fuzz
