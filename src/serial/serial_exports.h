#pragma once

namespace brisk::serial {

class UartBackEnd;
class TextBridgeBackEnd;

// The bridges of the library instance, for the connect exports. Null while the library is not
// attached.
UartBackEnd* AttachedUart();
TextBridgeBackEnd* AttachedTextBridge();

}  // namespace brisk::serial
