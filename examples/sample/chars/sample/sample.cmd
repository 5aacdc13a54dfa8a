; Commands of the sample character, and the state changes that they make.

[Command]
name = "x"
command = x
time = 1

[Command]
name = "holddown"
command = /$D
time = 1

[Statedef -1]

; Punch from standing.
[State -1, Punch]
type = ChangeState
value = 200
triggerall = command = "x"
trigger1 = statetype = S && ctrl

; Crouch while down is held.
[State -1, Crouch]
type = ChangeState
value = 11
triggerall = command = "holddown"
trigger1 = statetype = S && ctrl
