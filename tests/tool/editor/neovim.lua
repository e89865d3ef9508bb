-- Run by neovim, behind the lines of docs/editors.md. Opens the kernel file that OSTRA_TEST_KERNEL names, works on it as a
-- user would, with the client's own functions, and prints what the buffer and the caret are then.
local function print_line(text)
  io.stdout:write(text, "\n")
end

local function quit_without(what)
  print_line("nothing came: " .. what)
  vim.cmd("cquit")
end

-- The session is a coroutine, so that neovim takes keys and answers while it waits.
local session

local function go_on(...)
  local is_well, problem = coroutine.resume(session, ...)
  if not is_well then
    print_line(problem)
    vim.cmd("cquit")
  end
end

local function wait_for(what, condition)
  local turns = 0
  local function look()
    turns = turns + 1
    if condition() then
      go_on()
    elseif turns == 2000 then
      quit_without(what)
    else
      vim.defer_fn(look, 10)
    end
  end
  vim.defer_fn(look, 10)
  coroutine.yield()
end

local function read_text()
  return table.concat(vim.api.nvim_buf_get_lines(0, 0, -1, false), "\n")
end

local function print_caret(what)
  local place = vim.api.nvim_win_get_cursor(0)
  print_line(("%s: %s:%d:%d"):format(what, vim.fn.expand("%:t"), place[1], place[2] + 1))
end

-- Puts the caret on the first match of a pattern, and answers its line.
local function go_to(pattern)
  vim.api.nvim_win_set_cursor(0, { 1, 0 })
  return vim.fn.search(pattern, "cW")
end

local function show_mistakes()
  wait_for("a mistake", function() return #vim.diagnostic.get(0) > 0 end)
  local problem = vim.diagnostic.get(0)[1]
  print_line(("%d:%d: %s"):format(problem.lnum + 1, problem.col + 1, problem.message))
  -- The mistake is mended in the buffer alone.
  vim.cmd("silent %s/cuont/count/")
  wait_for("no mistakes", function() return #vim.diagnostic.get(0) == 0 end)
  print_line("no mistakes")
end

local function hover()
  go_to("value \\*")
  local parameters = vim.lsp.util.make_position_params()
  local answers = vim.lsp.buf_request_sync(0, "textDocument/hover", parameters, 20000)
  for _, answer in pairs(answers) do
    print_line(answer.result.contents.value)
  end
end

-- Ctrl-X Ctrl-O, and Ctrl-Y for what is offered first.
local function complete(before, behind)
  local line = go_to("uint i = ")
  vim.api.nvim_buf_set_lines(0, line, line, false, { "\t" .. before .. behind })
  vim.api.nvim_win_set_cursor(0, { line + 1, 1 + #before })
  vim.api.nvim_input("i<C-X><C-O>")
  wait_for("completion of " .. before, function() return vim.fn.pumvisible() == 1 end)
  vim.api.nvim_input("<C-Y><Esc>")
  wait_for("the end of completion", function() return vim.fn.mode() == "n" end)
  print_line("completed: " .. vim.api.nvim_buf_get_lines(0, line, line + 1, false)[1])
  vim.api.nvim_buf_set_lines(0, line, line + 1, false, {})
end

-- In a header, and back in the kernel.
local function go_to_definition(pattern)
  go_to(pattern)
  local before = vim.fn.expand("%:p") .. vim.fn.line(".")
  vim.lsp.buf.definition()
  wait_for("a definition", function() return vim.fn.expand("%:p") .. vim.fn.line(".") ~= before end)
  print_caret("definition of " .. vim.fn.expand("<cword>"))
end

local function list_symbols()
  vim.fn.setqflist({})
  vim.lsp.buf.document_symbol()
  wait_for("symbols", function() return #vim.fn.getloclist(0) + #vim.fn.getqflist() > 0 end)
  local found = vim.fn.getloclist(0)
  for _, item in ipairs(#found > 0 and found or vim.fn.getqflist()) do
    print_line(("symbol %d: %s"):format(item.lnum, item.text))
  end
  vim.cmd("silent! lclose | silent! cclose")
end

local function rename()
  go_to("factor, ")
  local before = read_text()
  vim.lsp.buf.rename("gain")
  wait_for("a new name", function() return read_text() ~= before end)
end

local function format()
  vim.cmd("silent %s/^(UInt32) count, \\\\/(  UInt32 )   count,\\\\/")
  local before = read_text()
  vim.lsp.buf.formatting()
  wait_for("another form", function() return read_text() ~= before end)
end

local function work()
  vim.o.hidden = true
  vim.o.completeopt = "menu,menuone"
  local kernel = os.getenv("OSTRA_TEST_KERNEL")
  vim.cmd("edit " .. vim.fn.fnameescape(kernel))
  show_mistakes()
  hover()
  complete("sum.x = UNIFORM(fac", ");")
  complete("sum.x = Hea", ";")
  go_to_definition("Header_value(2.0")
  vim.cmd("edit " .. vim.fn.fnameescape(kernel))
  go_to_definition("Twice(1.0")
  list_symbols()
  rename()
  format()
  print_line("the buffer:\n" .. read_text() .. "\nthe end")
  vim.cmd("quitall!")
end

session = coroutine.create(work)
vim.schedule(go_on)
