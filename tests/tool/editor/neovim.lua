-- Run by neovim, behind the lines of docs/editors.md. Opens the kernel file that OSTRA_TEST_KERNEL names, and prints what
-- the server tells.
local function print_line(text)
  io.stdout:write(text, "\n")
end

local function wait_for(condition)
  if not vim.wait(20000, condition, 10) then
    print_line("nothing came")
    vim.cmd("cquit")
  end
end

vim.cmd("edit " .. vim.fn.fnameescape(os.getenv("OSTRA_TEST_KERNEL")))
wait_for(function() return #vim.diagnostic.get(0) > 0 end)
local problem = vim.diagnostic.get(0)[1]
print_line(("%d:%d: %s"):format(problem.lnum + 1, problem.col + 1, problem.message))

-- The mistake is mended as a user would, in the buffer alone.
vim.cmd("silent %s/cuont/count/")
wait_for(function() return #vim.diagnostic.get(0) == 0 end)
print_line("no mistakes")

vim.fn.search("value \\*")
local parameters = vim.lsp.util.make_position_params()
local answers = vim.lsp.buf_request_sync(0, "textDocument/hover", parameters, 20000)
for _, answer in pairs(answers) do
  print_line(answer.result.contents.value)
end
vim.cmd("quitall!")
