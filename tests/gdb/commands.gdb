# What a person looks at, in the scene of program.cpp.
# A refusal is shown, too, and the next command is tried.
python
def attempt(command):
   try:
      gdb.execute(command)
   except gdb.error as error:
      print("error: %s" % error)
end
set breakpoint pending on
set print frame-info short-location
set print symbol off
set print address off
break lookAtIt
run
up

echo # values\n
print values
set print pretty on

echo # pointers\n
print config
print values.null
print zombie
print pinned
print machine

echo # an entity\n
print *config.pointer_
print *inputs.mlagStatus.pointer_
print *cause.pointer_
print *snooping.pointer_
print *loud.pointer_
ostra attributes inputs.mlagStatus
python attempt("ostra attributes values.port")
python attempt("ostra attributes values.null")
python attempt("ostra attributes")

echo # the machine\n
print *machine.pointer_
print machine.pointer_->clockMlag_
print machine.pointer_->lacpOverride_
print machine.pointer_->lagInputConfig_
print machine.pointer_->intfConfig_
print machine.pointer_->portChannelToMember_
print machine.pointer_->memberToPortChannel_
print machine.pointer_->portChannelTracker_
print machine.pointer_->lagsInStandby_
ostra machine
ostra machine machine
python attempt("ostra machine config")

echo # who watches this\n
ostra watchers config
ostra watchers *config.pointer_
ostra watchers config.pointer_
ostra watchers emptyClock
python attempt("ostra watchers machine")
python attempt("ostra watchers nothing")

echo # what is armed\n
ostra armed
ostra armed emptyClock
python attempt("ostra armed config")

echo # memory in which nothing was constructed\n
print zeros.things
print garbage.things
print *dangling
python attempt("print *(Mlag::Config*)0")
python attempt("ostra attributes zeros.things.config")
python attempt("ostra attributes garbage.things.pointer")
python attempt("ostra attributes dangling")
python attempt("ostra watchers garbage.things.config")
python attempt("ostra armed zeros.things.clock")
python attempt("ostra machine garbage.things.machine")

echo # when the MLAG ports are released\n
continue
up
print *machine.pointer_
ostra machine
ostra armed
