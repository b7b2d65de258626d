// The entry points through which compiled Objective-C sends a message, for x86-64. They keep every
// argument, ask for the method and jump there, so that a method may take and return anything.
//
// Threads: any; what is asked for the method decides about the rest.
#ifndef MESSAGE_SEND_H
#define MESSAGE_SEND_H

namespace appkit {

// A method's code; a plain function that takes the receiver and the selector before its own
// arguments.
using Method = void (*)();

// How a method returns: in registers, or in memory whose address comes before all arguments.
enum class Result { kRegisters, kMemory };

// The method to jump to, never null. Written by whoever has the classes; called for each message,
// with a null receiver too.
Method methodFor(const void* receiver, const char* selector, Result result) noexcept;

// Returns zero in every register that a result can come back in.
Method zeroMethod();

// Stands in for a method that returns in memory. The real runtime leaves that memory as it was when
// the receiver is nil; this leaves nonsense, so that nobody gets by with what happened to be there.
Method nonsenseMethod();

}  // namespace appkit

#endif
