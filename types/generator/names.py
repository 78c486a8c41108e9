# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""The names that a schema cannot use, because C++ or the generated code has them already."""

import errno
import re

NAME = re.compile(r"[A-Za-z][A-Za-z0-9]*\Z")

# Words of C++, and macros of the standard headers.
CPP = set("""
   alignas alignof and asm auto bitand bitor bool break case catch char class compl concept
   const consteval constexpr constinit continue decltype default delete do double else enum
   explicit export extern false float for friend goto if inline int long mutable namespace new
   noexcept not nullptr operator or private protected public register requires return short
   signed sizeof static struct switch template this throw true try typedef typeid typename
   union unsigned using virtual void volatile while xor
   EOF NULL WEOF alloca assert errno linux offsetof stderr stdin stdout typeof unix
   """.split()) | set(errno.errorcode.values())

# What every object has: an entity and a machine.
OBJECT = set("""
   BaseType GenericIf Notifier PtrInterface StateOf VFPtrInterface
   aliveWhileReplacing attributes auditErrors create deleteReference elementIs elementNew entryDel
   entryDelAll entryInstantiate entryIs entryNew entryPut entryRemove entryTake
   firstAttributeId forEachAttribute fwkType fwkTypeName handleZeroRef
   hasNotificationActive hasNotificationActiveIs isNondestructing isNondestructingIs
   newReference notify recordNew references refuseNull refusePresent ryxAuditErrors
   ryxHeldIs ryxMarkedForDeletion ryxMarkedForDeletionIs self set zeroReferencesIs""".split())
ENTITY = OBJECT | set("""
   Entity EntityOf Notifiee NotifieeConst attributeString constructor deliver deliverAside
   dispatch dispatchTo fullName fwkKey handleParent isAncestorOf name notifieeCount
   notifieeLevel notifieeModifications parent parentAttr parentAttrId parentAttrIdIs parentIs
   ryxHboAttrLogSa ryxNboAttrLogSa ryxNotifieeAdapterIs state uriPath""".split())
MACHINE = OBJECT | set("""
   Given Made Operation ReactorOwnerOf Sm Stored forEachReactor input inputDel inputHere
   inputIs inputNew inputs notificationActiveIs operations orphanReactors reactorDel
   reactorGone reactorIs reactorNew reactorOn releaseState release repoint ryxFwkActivity visitInput
   visitMembers watch zombieReactorsIs""".split())
# What a notifiee of any entity has: callbacks.
NOTIFIEE = set("""
   onAttribute onCollectionNotification onIsNondestructing onNotification
   onNotificationException onParent onVersion onZeroReferences""".split())
# What the inputs of every machine have.
INPUTS = set("Call Method Owner Result apply call size".split())
# What a structure has.
STRUCTURE = set("fields fwkTypeName".split())
# The parameters of generated functions and what else stands beside types.
BESIDE_TYPES = set("""
   Call Method Notifier Operation Owner Result Sm Unit call column
   inputs key n out record removed size text unit v value""".split())
# What else is in the base classes of entities, notifiees and machines, hidden or not: there
# a type of this name could not be named.
IN_BASES = set("""
   NotifieeConstOf NotifierType Waiting abandonParked activityPtr actsm bind bindAs
   deferredIs flag flagIs handleDefault handleNotification handleNotificationException
   isDeferred isHeldByMoreThan isRegisteredNotifiee isRegisteredNotifieeIs isStreamAdapter
   isToBeDeferred isWeakReference isWeakReferenceIs joinAs lastPinnedReferenceDeleted
   lastReferenceDeleted lastSharedReferenceDeleted leave levelIs link newPinnedReference
   newSharedReference notifier notifierIs notifierLost park pendingAttributeId pin pinned
   pinnedState rawNotifier released ryxRawReactor ryxReactor startsAt unlink unpark unpin
   waiting waitsNoMore watched word""".split()) | NOTIFIEE
NAMESPACES = set("Kovel OstraMlag Ryx std".split())
TYPE = ENTITY | MACHINE - set("Given Made Stored".split()) | BESIDE_TYPES | IN_BASES | NAMESPACES


def who_has(name):
    """Why a name cannot be used, for messages."""
    if name in CPP:
        return "it is a word or a macro of C++"
    if name == "OstraMlag":
        return "the plug-in has it"
    if name in ENTITY - MACHINE:
        return "every entity has it"
    if name in MACHINE - ENTITY:
        return "every machine has it"
    return "the generated code has it"


def check_names(names, place, taken=frozenset(), at=None):
    for name in names:
        where = at or place.of(names, name)
        if not NAME.match(name):
            raise where.error(f"{name or 'nothing'} is no name: letters and digits are expected")
        if name in CPP or name in taken:
            raise where.error(f"{name} is taken: {who_has(name)}")
